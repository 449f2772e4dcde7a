#pragma once

#include "tools/vinst_release/release_files.h"

#include <chrono>

/// Shows the progress of reading files on standard error: a line that is redrawn on a terminal,
/// otherwise at most one line every ten seconds.
class RELEASE_PROGRESS_LINE final
{
public:
    /// \param verb  the operation: "Measuring"
    explicit RELEASE_PROGRESS_LINE(QString verb);
    /// Clears the line if it is still shown.
    ~RELEASE_PROGRESS_LINE();
    RELEASE_PROGRESS_LINE(const RELEASE_PROGRESS_LINE&) = delete;
    RELEASE_PROGRESS_LINE& operator=(const RELEASE_PROGRESS_LINE&) = delete;

    void show(const RELEASE_FILE_PROGRESS& progress);

private:
    const QString m_verb;
    const bool m_redraws;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_said;
};

/// "Measuring: 3 of 9 files, 45.32 MB of 203.45 MB (22%)".
QString progress_text(const QString& verb, const RELEASE_FILE_PROGRESS& progress);
