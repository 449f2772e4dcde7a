#include "support/main/main_assert.h"

#include <cstdio>
#include <exception>

void main_assertion_failed(const char* condition, const char* file, int line) noexcept
{
    std::fprintf(stderr, "Assertion failed: %s, file %s, line %d\n", condition, file, line);
    std::fflush(stderr);
    std::terminate();
}
