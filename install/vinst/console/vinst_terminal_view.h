#pragma once

#include "install/vinst/console/vinst_console_view.h"
#include "install/vinst/console/vinst_screen_region.h"

#include <functional>
#include <optional>

/// The view for a terminal, which the lines of an attempt always fit: the headings, the progress
/// block, the lines reported below it, and what is left to check. The terminal's size is queried at
/// each redraw.
class VINST_TERMINAL_VIEW final : public VINST_CONSOLE_VIEW
{
public:
    using SIZE_QUERY = std::function<VINST_TERMINAL_SIZE()>;

    explicit VINST_TERMINAL_VIEW(SIZE_QUERY size = terminal_size);

    void show_attempt(const VINST_COMPONENT_LIST& components) override;
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override;
    void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) override;
    void show_pending_checks(int files, quint64 bytes) override;
    void show_reported_line(const QString& line) override;

    void start() override;
    void begin_wait(const QString& announcement) override;
    void end_wait() override;

private:
    void start_attempt(const QStringList& headings);
    /// \param coming  lines that are about to be printed below, and need room
    void redraw(const QStringList& coming = {});
    void settle_if_too_high(const QStringList& coming, VINST_TERMINAL_SIZE size);
    bool is_over(const QStringList& coming) const;
    QStringList block(const QStringList& coming, VINST_TERMINAL_SIZE size) const;
    int rows_for_block(const QStringList& coming, VINST_TERMINAL_SIZE size) const;

    const SIZE_QUERY m_size;
    VINST_SCREEN_REGION m_region;
    // Of this attempt:
    QStringList m_headings;
    VINST_COMPONENT_LIST m_components;
    std::vector<VINST_COMPONENT_PROGRESS> m_progress; ///< of `m_components`, in the same order
    std::optional<VINST_PROGRESS_TOTALS> m_totals;    ///< none before the first progress pass
    QStringList m_reported;
    QString m_check_line;
    /// The reported lines take more rows than there are. They are complete, even though they leave
    /// the screen, and stay where they are printed.
    bool m_is_settled = false;
};
