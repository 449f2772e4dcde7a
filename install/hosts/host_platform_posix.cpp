#include "install/hosts/host_platform.h"

void protect_library_search() {}

std::vector<std::string> utf8_arguments(int argc, char** argv)
{
    return {argv, argv + argc};
}
