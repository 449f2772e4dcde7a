#pragma once

#include "install/vinst/download/vinst_downloader_view.h"

#include <chrono>

/// Prints the progress of a download as a block of lines on standard output and redraws it in
/// place.
///
/// The download manager reports its result lines through the message catalogue; this class only
/// counts them, so that it knows where its block is.
class VINST_CONSOLE_VIEW final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_attempt(const VINST_COMPONENT_LIST& components) override;
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override;
    void show_reported_line(const QString& line) override;
    void show_connection_attempt(const std::string& host, const std::string& port) override;

    /// Prints the line above the blocks of all attempts.
    void start();
    /// Moves the cursor to that line and prints it again, so that the next attempt is drawn over
    /// the failed one, which stays readable until then.
    void restart();

    /// The last block and the lines reported below it.
    const QString& progress_text() const { return m_progress_text; }

private:
    QString m_progress_text; ///< of this attempt
    std::size_t m_component_count = 0;
};

/// Clears the screen from the cursor on when standard output is a terminal, so that nothing of
/// longer lines remains behind shorter ones. Does nothing otherwise.
void clear_below_cursor();
