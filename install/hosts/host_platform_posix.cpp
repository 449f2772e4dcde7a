#include "install/hosts/host_platform.h"

void protect_library_search() {}

HOST_ARGUMENTS::HOST_ARGUMENTS(int argc, char** argv) : m_pointers(argv, argv + argc)
{
    m_pointers.push_back(nullptr);
}
