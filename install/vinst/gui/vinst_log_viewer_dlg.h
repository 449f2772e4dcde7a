#pragma once

#include "support/afcq/afcq_dialog.h"

#include <QTimer>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace Ui
{
class VINST_LOG_VIEWER_DLG;
}

/// Shows the run log and follows its growth. While text is selected, it is not updated.
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

private:
    void show_text(const QString& text);

    std::unique_ptr<Ui::VINST_LOG_VIEWER_DLG> m_ui;
    QTimer m_refresh_timer;
    qint64 m_shown_size = -1; ///< bytes of the log that are shown; -1 when it isn't shown
    int m_scroll_position = 0;
};
