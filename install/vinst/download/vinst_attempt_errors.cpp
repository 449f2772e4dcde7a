#include "install/vinst/download/vinst_attempt_errors.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "support/curl/curl_progress_data.h"

namespace
{

constexpr int curl_write_error = 23;
constexpr int curl_filesize_exceeded = 63;
constexpr int http_not_found = 404;

}

void VINST_ATTEMPT_ERRORS::note(const CURL_PROGRESS_DATA& data)
{
    if (data.http_code == http_not_found)
        m_not_found_error = true;
    // A file that is too long would not have matched its checksum.
    if (data.curl_code == curl_write_error || data.curl_code == curl_filesize_exceeded)
        m_write_error = true;
}

void VINST_ATTEMPT_ERRORS::add_line(const QString& line)
{
    if (!m_logged_lines.contains(line))
        run_log().info("%s", utf8(line));
    m_logged_lines.insert(line);
    m_error_lines.append(line);
}

VINST_ATTEMPT_FAULT VINST_ATTEMPT_ERRORS::fault() const
{
    if (m_login_refused)
        return VINST_ATTEMPT_FAULT::final;
    return m_write_error || m_not_found_error ? VINST_ATTEMPT_FAULT::lasting
                                              : VINST_ATTEMPT_FAULT::passing;
}

QStringList VINST_ATTEMPT_ERRORS::lasting_texts() const
{
    QStringList texts;
    if (m_write_error)
        texts.append(QString::fromStdString(message("ERROR_CURL_WRITE_ERROR")));
    if (m_not_found_error)
        texts.append(QString::fromStdString(message("ERROR_CURL_404_ERROR")));
    if (m_login_refused)
        texts.append(QStringLiteral("The proxy has refused the user name and password."));
    return texts;
}
