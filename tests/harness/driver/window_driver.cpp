#include <QAbstractButton>
#include <QApplication>
#include <QGenericPlugin>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace
{

constexpr std::chrono::milliseconds retry_interval{10};

QWidget* visible_window(const QString& class_name)
{
    for (QWidget* const window : QApplication::topLevelWidgets())
        if (window->isVisible() && class_name == window->metaObject()->className())
            return window;
    return nullptr;
}

QWidget* visible_widget(const QString& name)
{
    for (QWidget* const widget : QApplication::allWidgets())
        if (widget->objectName() == name && widget->isVisible())
            return widget;
    return nullptr;
}

QAbstractButton* usable_button(const QString& name)
{
    for (QWidget* const widget : QApplication::allWidgets())
        if (auto* const button = qobject_cast<QAbstractButton*>(widget);
            button != nullptr && button->objectName() == name && button->isVisible() &&
            button->isEnabled())
            return button;
    return nullptr;
}

/// Performs one step after another, each as soon as possible, including in an event loop that an
/// earlier step has started.
class WINDOW_DRIVER final : public QObject
{
public:
    explicit WINDOW_DRIVER(const QStringList& steps) : m_steps(steps)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { take_next_step(); });
        m_timer.start(retry_interval);
    }

private:
    void take_next_step()
    {
        if (!m_steps.isEmpty() && !take(m_steps.first()))
            return;
        if (!m_steps.isEmpty())
        {
            m_steps.removeFirst();
            return;
        }
        m_timer.stop();
        std::fputs("all steps taken\n", stdout);
        std::fflush(stdout);
    }

    /// \return whether the step could be performed
    bool take(const QString& step)
    {
        const QString name = step.mid(step.indexOf(':') + 1);
        if (step.startsWith("window:"))
            return visible_window(name) != nullptr;
        if (step.startsWith("close:"))
        {
            QWidget* const window = visible_window(name);
            if (window != nullptr)
                QTimer::singleShot(0, window, &QWidget::close);
            return window != nullptr;
        }
        if (step.startsWith("scale:"))
        {
            const QWidget* const window = visible_window(name);
            if (window == nullptr)
                return false;
            std::printf("scale %g, width %d\n", window->devicePixelRatioF(), window->width());
            return true;
        }
        if (step.startsWith("height:"))
        {
            const QWidget* const widget = visible_widget(name);
            if (widget == nullptr)
                return false;
            std::printf("height %d\n", widget->height());
            return true;
        }
        if (!step.startsWith("click:"))
            qFatal("invalid step: %s", qPrintable(step));
        QAbstractButton* const button = usable_button(name);
        // Clicked from the event loop, so that the timer's next events aren't delayed.
        if (button != nullptr)
            QTimer::singleShot(0, button, &QAbstractButton::click);
        return button != nullptr;
    }

    QStringList m_steps;
    QTimer m_timer;
};

/// Loaded by the program under test; see window_driver.h.
class WINDOW_DRIVER_PLUGIN final : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "window_driver.json")

public:
    QObject* create(const QString&, const QString&) override
    {
        const QString steps = qEnvironmentVariable("VINST_TEST_WINDOW_STEPS");
        return new WINDOW_DRIVER(steps.split(' ', Qt::SkipEmptyParts));
    }
};

}

#include "window_driver.moc"
