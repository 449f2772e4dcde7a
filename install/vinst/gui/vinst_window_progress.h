#pragma once

#include "install/vinst/gui/vinst_taskbar_progress.h"

#include <QString>

#include <functional>
#include <optional>

class QWidget;

/// Shows a job to a user who looks at another window: the percentage in the launcher or taskbar,
/// and in the title while the window is minimised, and a request for attention when the job needs
/// it.
class VINST_WINDOW_PROGRESS final
{
public:
    /// \param window  outlives this object; its title is the usual one
    /// \param alert   asks for attention; `QApplication::alert`, except in tests
    VINST_WINDOW_PROGRESS(QWidget& window, std::function<void(QWidget&)> alert);

    /// The overall percentage of the running job; empty when none runs.
    void show_percentage(std::optional<int> percent);
    /// To be called when the window was minimised or restored.
    void follow_window_state();
    /// The job has ended, or asks a question. Does nothing while the user works with a window of
    /// this program.
    void ask_for_attention();

private:
    QWidget& m_window;
    const std::function<void(QWidget&)> m_alert;
    const QString m_usual_title;
    std::optional<int> m_percent;
    VINST_TASKBAR_PROGRESS m_taskbar;
};
