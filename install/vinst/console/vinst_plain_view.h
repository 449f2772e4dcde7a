#pragma once

#include "install/vinst/console/vinst_console_view.h"

/// The view for a file or a pipe. The block's lines are complete, whatever their length and number,
/// and the cursor is moved as on a terminal of unlimited size, on which the output may be shown
/// later.
class VINST_PLAIN_VIEW final : public VINST_CONSOLE_VIEW
{
public:
    void show_attempt(const VINST_COMPONENT_LIST& components) override;
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override;
    void show_reported_line(const QString& line) override;

    void start() override;
    /// Also moves the cursor to the first line of the attempts, where the next one starts.
    void begin_wait(const QString& announcement) override;
    void end_wait() override {}

    /// The last block and the lines reported below it.
    const QString& progress_text() const { return m_progress_text; }

private:
    QString m_progress_text; ///< of this attempt
    std::size_t m_component_count = 0;
};
