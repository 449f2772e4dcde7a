#include "tools/vinst_release/release_progress.h"

#include "install/vinst/base/vinst_text.h"
#include "tools/vinst_release/release_terminal.h"
#include "tools/vinst_release/release_text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{

void write_error_text(const QString& text)
{
    const std::string bytes = utf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

}

RELEASE_PROGRESS_LINE::RELEASE_PROGRESS_LINE(QString verb)
    : m_verb(std::move(verb)), m_redraws(stderr_is_terminal()),
      m_said(std::chrono::steady_clock::now())
{
}

RELEASE_PROGRESS_LINE::~RELEASE_PROGRESS_LINE()
{
    if (m_drawn)
        write_error_text(QStringLiteral("\r\x1b[K"));
}

void RELEASE_PROGRESS_LINE::show(const RELEASE_FILE_PROGRESS& progress)
{
    constexpr std::chrono::seconds pause_between_lines(10);
    if (m_redraws)
    {
        write_error_text("\r" + progress_text(m_verb, progress) + "\x1b[K");
        m_drawn = true;
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - m_said < pause_between_lines)
        return;
    m_said = now;
    write_error_text(progress_text(m_verb, progress) + '\n');
}

QString progress_text(const QString& verb, const RELEASE_FILE_PROGRESS& progress)
{
    // A file may have grown since the total was calculated.
    const quint64 done = std::min(progress.bytes_done, progress.bytes);
    const int percent = progress.bytes == 0
                            ? 100
                            : static_cast<int>(static_cast<double>(done) /
                                               static_cast<double>(progress.bytes) * 100);
    return verb + ": " + QString::number(progress.files_done) + " of " +
           counted(progress.files, QStringLiteral("file")) + ", " + readable_size(done) + " of " +
           readable_size(progress.bytes) + " (" + QString::number(percent) + "%)";
}
