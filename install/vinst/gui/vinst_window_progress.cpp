#include "install/vinst/gui/vinst_window_progress.h"

#include <QApplication>
#include <QWidget>

#include <utility>

VINST_WINDOW_PROGRESS::VINST_WINDOW_PROGRESS(QWidget& window, std::function<void(QWidget&)> alert)
    : m_window(window), m_alert(std::move(alert)), m_usual_title(window.windowTitle()),
      m_taskbar(window)
{
}

void VINST_WINDOW_PROGRESS::show_percentage(std::optional<int> percent)
{
    m_percent = percent;
    if (percent)
        m_taskbar.show(*percent);
    else
        m_taskbar.hide();
    follow_window_state();
}

void VINST_WINDOW_PROGRESS::follow_window_state()
{
    const bool is_wanted = m_percent.has_value() && m_window.isMinimized();
    m_window.setWindowTitle(is_wanted ? QString::number(*m_percent) + " % - " + m_usual_title
                                      : m_usual_title);
}

void VINST_WINDOW_PROGRESS::ask_for_attention()
{
    if (QApplication::activeWindow() == nullptr || m_window.isMinimized())
        m_alert(m_window);
}
