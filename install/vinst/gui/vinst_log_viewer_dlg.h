#pragma once

#include "support/afcq/afcq_dialog.h"

#include <QTimer>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

class VINST_LOG_HIGHLIGHTER;

namespace Ui
{
class VINST_LOG_VIEWER_DLG;
}

/// Shows the run log and follows its growth, at its end as long as the end is in view. While text
/// is selected, it is not updated. Errors and the hits of a search are marked.
class VINST_LOG_VIEWER_DLG final : public AFCQ_DIALOG
{
    Q_OBJECT

public:
    /// \param refresh_interval  how often the log is read again while the dialog is shown
    explicit VINST_LOG_VIEWER_DLG(
        QWidget* parent = nullptr,
        std::chrono::milliseconds refresh_interval = std::chrono::milliseconds(5000));
    ~VINST_LOG_VIEWER_DLG() override;

    /// Reads the log again if it has changed.
    void refresh();
    std::chrono::milliseconds refresh_interval() const
    {
        return m_refresh_timer.intervalAsDuration();
    }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void set_up_search();
    void show_text(const QString& text);
    void search(const QString& text);
    /// Moves to the next hit, or to the previous one; from one end of the log to the other.
    void find(bool is_backwards);
    void mark_hit();
    void copy_all() const;

    std::unique_ptr<Ui::VINST_LOG_VIEWER_DLG> m_ui;
    QTimer m_refresh_timer;
    qint64 m_shown_size = -1; ///< bytes of the log that are shown; -1 when it isn't shown
    VINST_LOG_HIGHLIGHTER* m_highlighter = nullptr; ///< owned by the shown document
    int m_scroll_position = 0;
    bool m_follows_end = true; ///< the end was in view when the user last scrolled
    bool m_is_filling = false; ///< scroll bars move, but not by the user
    int m_hit = -1;            ///< where the current hit of the search begins; -1 for none
};
