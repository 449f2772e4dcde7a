#include "install/vinst/console/vinst_console_view.h"

#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_terminal.h"

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

void clear_below_cursor()
{
    if (stdout_is_terminal())
        print_text("\x1b[J");
}

void VINST_CONSOLE_VIEW::start()
{
    print_text(start_line);
}

void VINST_CONSOLE_VIEW::restart()
{
    print_text(cursor_up(line_count(m_progress_text) + lines_around_block) + start_line);
}

void VINST_CONSOLE_VIEW::show_attempt(const VINST_COMPONENT_LIST& components)
{
    m_progress_text.clear();
    m_component_count = components.size();
    clear_below_cursor();
    // The first redraw moves the cursor over these lines.
    std::string text = "Download progress:\n";
    for (const VINST_COMPONENT* component : components)
        text += utf8(component->display_name()) + ": [...]\n";
    print_text(text + "\n\n\n");
}

void VINST_CONSOLE_VIEW::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                       const VINST_PROGRESS_TOTALS& totals)
{
    const int lines_above = m_progress_text.isEmpty() ? static_cast<int>(m_component_count) + 3
                                                      : line_count(m_progress_text);
    m_progress_text = progress_block(progress, totals);
    print_text(cursor_up(lines_above));
    clear_below_cursor();
    print_text(utf8(m_progress_text) + "\n");
}

void VINST_CONSOLE_VIEW::show_reported_line(const QString& line)
{
    m_progress_text += line + '\n';
}

void VINST_CONSOLE_VIEW::show_connection_attempt(const std::string& host, const std::string& port)
{
    print_text("Testing internet connection ... \nINFO: Proxy server: " + host + ", port:" + port +
               "\n");
}
