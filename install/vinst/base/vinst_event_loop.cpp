#include "install/vinst/base/vinst_event_loop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>

#include <mutex>

namespace
{

std::mutex application_mutex;            // guards both below, for every thread that wakes the loop
QCoreApplication* application = nullptr; // from the first use on, until it is destroyed
bool was_application_destroyed = false;

void forget_application()
{
    const std::lock_guard lock(application_mutex);
    application = nullptr;
    was_application_destroyed = true;
}

/// With the mutex held.
void remember_application()
{
    if (application != nullptr || was_application_destroyed)
        return;
    application = QCoreApplication::instance();
    if (application != nullptr)
        qAddPostRoutine(forget_application); // called first by its destructor
}

}

void process_events()
{
    {
        const std::lock_guard lock(application_mutex);
        remember_application();
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

void wake_event_loop()
{
    // A signal may arrive while the application object is being destroyed.
    const std::lock_guard lock(application_mutex);
    remember_application();
    // An event and not the dispatcher's own call: after that, some platforms go back to sleep.
    if (application != nullptr)
        QCoreApplication::postEvent(application, new QEvent(QEvent::User));
}
