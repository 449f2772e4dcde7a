#pragma once

#include <memory>

class QWidget;

/// The progress on the window's button in the desktop's launcher or taskbar. Does nothing where
/// there is none, and never waits for it.
class VINST_TASKBAR_PROGRESS final
{
public:
    /// \param window  outlives this object
    explicit VINST_TASKBAR_PROGRESS(QWidget& window);
    ~VINST_TASKBAR_PROGRESS();
    VINST_TASKBAR_PROGRESS(const VINST_TASKBAR_PROGRESS&) = delete;
    VINST_TASKBAR_PROGRESS& operator=(const VINST_TASKBAR_PROGRESS&) = delete;

    /// To be repeated, because the desktop may not be connected at first.
    void show(int percent);
    void hide();

private:
    class BUTTON;
    const std::unique_ptr<BUTTON> m_button;
};
