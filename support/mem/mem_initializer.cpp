#include "support/mem/mem_initializer.h"

#include <cstdio>
#include <exception>
#include <new>

namespace
{

/// Nothing can be freed that would help, and no caller is written to go on without its memory.
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
