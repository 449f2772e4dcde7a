#include "tests/harness/stopwatch.h"

#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

IDLE_TIMES idle_times()
{
    std::ifstream file("/proc/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return idle_times_in(text, std::chrono::nanoseconds(std::chrono::seconds(1)) /
                                   ::sysconf(_SC_CLK_TCK));
}
