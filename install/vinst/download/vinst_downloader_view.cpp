#include "install/vinst/download/vinst_downloader_view.h"

#include "install/vinst/base/vinst_event_loop.h"

void VINST_DOWNLOADER_VIEW::process_events()
{
    ::process_events();
}
