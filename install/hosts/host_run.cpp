#include "install/hosts/host_run.h"

#include "install/hosts/host_platform.h"
#include "install/vinst/app/vinst_entry.h"

int run_host(int argc, char** argv, bool gui_host)
{
    protect_library_search();
    HOST_ARGUMENTS arguments(argc, argv);
    return install_vinst_run(arguments.count(), arguments.pointers(), gui_host);
}
