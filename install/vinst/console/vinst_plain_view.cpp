#include "install/vinst/console/vinst_plain_view.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "support/curl/curl_plain_text.h"

namespace
{

constexpr const char* start_line = "Start download ...\n";

/// Lines between the progress block and the start line, including those of the retry message.
constexpr int lines_around_block = 4;

/// Moves the cursor up by that many lines and clears the line.
std::string cursor_up(int lines)
{
    return "\x1b[" + std::to_string(lines) + "A\x1b[2K\r";
}

/// The number of lines of a text that is printed with a line break at its end.
int line_count(const QString& text)
{
    return text.count('\n') + 1;
}

}

void VINST_PLAIN_VIEW::start()
{
    print_text(start_line);
}

void VINST_PLAIN_VIEW::begin_wait(const QString& announcement)
{
    report(utf8(announcement), false);
    print_text(cursor_up(line_count(m_progress_text) + lines_around_block) + start_line);
}

void VINST_PLAIN_VIEW::show_attempt(const VINST_COMPONENT_LIST& components)
{
    m_progress_text.clear();
    m_component_count = components.size();
    // The first redraw moves the cursor over these lines.
    std::string text = "Download progress:\n";
    for (const VINST_COMPONENT* component : components)
        text += utf8(component->display_name()) + ": [...]\n";
    print_text(text + "\n\n\n");
}

void VINST_PLAIN_VIEW::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                     const VINST_PROGRESS_TOTALS& totals)
{
    const int lines_above = m_progress_text.isEmpty() ? static_cast<int>(m_component_count) + 3
                                                      : line_count(m_progress_text);
    m_progress_text = progress_block(progress, totals);
    print_text(cursor_up(lines_above) + utf8(m_progress_text) + '\n');
}

void VINST_PLAIN_VIEW::show_reported_line(const QString& line)
{
    m_progress_text += QString::fromStdString(curl_plain_text(utf8(line))) + '\n';
}
