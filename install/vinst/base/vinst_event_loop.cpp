#include "install/vinst/base/vinst_event_loop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>

void process_events()
{
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

void wake_event_loop()
{
    // Not QAbstractEventDispatcher::wakeUp: after that, some platforms go back to sleep.
    if (QCoreApplication* const application = QCoreApplication::instance())
        QCoreApplication::postEvent(application, new QEvent(QEvent::User));
}
