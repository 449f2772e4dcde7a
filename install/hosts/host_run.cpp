#include "install/hosts/host_run.h"

#include "install/hosts/host_platform.h"
#include "install/vinst/app/vinst_entry.h"

int run_host(int argc, char** argv, bool gui_host)
{
    protect_library_search();
    std::vector<std::string> arguments = utf8_arguments(argc, argv);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return install_vinst_run(static_cast<int>(arguments.size()), pointers.data(), gui_host);
}
