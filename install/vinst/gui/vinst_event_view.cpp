#include "install/vinst/gui/vinst_event_view.h"

#include <QCoreApplication>
#include <QEventLoop>

void VINST_EVENT_VIEW::process_events()
{
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}
