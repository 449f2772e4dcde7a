#include "support/mem/mem_initializer.h"

#include <cstdio>
#include <exception>
#include <new>

namespace
{

/// There is no memory to free, and no caller can handle an allocation failure.
[[noreturn]] void end_out_of_memory()
{
    std::fputs("Out of memory.\n", stderr);
    std::terminate();
}

}

MEM_INITIALIZER::MEM_INITIALIZER() noexcept
{
    std::set_new_handler(end_out_of_memory);
}
