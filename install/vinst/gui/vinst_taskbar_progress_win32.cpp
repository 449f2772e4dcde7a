#include "install/vinst/gui/vinst_taskbar_progress.h"

#include <QWidget>

#include <shobjidl.h>

#include <windows.h>

namespace
{

constexpr ULONGLONG whole = 100;

}

/// The window's button. Qt initializes COM on the main thread.
class VINST_TASKBAR_PROGRESS::BUTTON
{
public:
    explicit BUTTON(QWidget& window) : m_window(window) {}
    ~BUTTON()
    {
        if (m_list != nullptr)
            m_list->Release();
    }
    BUTTON(const BUTTON&) = delete;
    BUTTON& operator=(const BUTTON&) = delete;

    void show(int percent)
    {
        if (m_list == nullptr && !connect())
            return;
        m_list->SetProgressState(handle(), TBPF_NORMAL);
        m_list->SetProgressValue(handle(), static_cast<ULONGLONG>(percent), whole);
    }

    void hide()
    {
        if (m_list != nullptr)
            m_list->SetProgressState(handle(), TBPF_NOPROGRESS);
    }

private:
    /// \return false where there is no taskbar, as in a service's session
    bool connect()
    {
        void* list = nullptr;
        if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_ITaskbarList3, &list)))
            return false;
        m_list = static_cast<ITaskbarList3*>(list);
        if (SUCCEEDED(m_list->HrInit()))
            return true;
        m_list->Release();
        m_list = nullptr;
        return false;
    }

    HWND handle() const { return reinterpret_cast<HWND>(m_window.winId()); }

    QWidget& m_window;
    ITaskbarList3* m_list = nullptr; ///< owned by this object; null until it is needed
};

VINST_TASKBAR_PROGRESS::VINST_TASKBAR_PROGRESS(QWidget& window)
    : m_button(std::make_unique<BUTTON>(window))
{
}

VINST_TASKBAR_PROGRESS::~VINST_TASKBAR_PROGRESS() = default;

void VINST_TASKBAR_PROGRESS::show(int percent)
{
    m_button->show(percent);
}

void VINST_TASKBAR_PROGRESS::hide()
{
    m_button->hide();
}
