#pragma once

#include "install/vinst/download/vinst_retry.h"

#include <QSet>
#include <QString>
#include <QStringList>

struct CURL_PROGRESS_DATA;

/// What goes wrong in one attempt to download, and whether another one could help.
class VINST_ATTEMPT_ERRORS
{
public:
    /// Takes the errors of a transfer that retries don't fix.
    void note(const CURL_PROGRESS_DATA& data);
    /// A wrong checksum counts as a write error.
    void note_wrong_checksum() { m_write_error = true; }
    void note_refused_login() { m_login_refused = true; }
    /// Each progress pass adds one line for each file in error. A line is logged once.
    void add_line(const QString& line);

    bool write_error() const { return m_write_error; }
    bool not_found_error() const { return m_not_found_error; }
    const QStringList& error_lines() const { return m_error_lines; }

    VINST_ATTEMPT_FAULT fault() const;
    /// A sentence for each error that retries don't fix.
    QStringList lasting_texts() const;

private:
    bool m_write_error = false;
    bool m_not_found_error = false;
    bool m_login_refused = false;
    QStringList m_error_lines;
    QSet<QString> m_logged_lines;
};
