#include "tests/harness/processor_time.h"

#include <ctime>

std::chrono::microseconds processor_time()
{
    return std::chrono::microseconds(std::clock() * 1'000'000 / CLOCKS_PER_SEC);
}
