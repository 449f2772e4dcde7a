#include "tests/harness/time_ratio.h"

#include "tests/harness/processor_time.h"

#include <algorithm>
#include <chrono>

namespace
{

using SECONDS = std::chrono::duration<double>;

constexpr int measurements = 3;
constexpr std::chrono::milliseconds measurable{20};

/// CPU time of one execution.
SECONDS time_of_one(const std::function<void()>& work)
{
    const auto begin = processor_time();
    std::chrono::microseconds used{};
    int executions = 0;
    for (; used < measurable; used = processor_time() - begin)
    {
        work();
        ++executions;
    }
    return SECONDS(used) / executions;
}

SECONDS shortest_time(const std::function<void()>& work)
{
    SECONDS shortest = time_of_one(work);
    for (int i = 1; i < measurements; ++i)
        shortest = std::min(shortest, time_of_one(work));
    return shortest;
}

}

double time_ratio(const std::function<void()>& work, const std::function<void()>& other)
{
    return shortest_time(work) / shortest_time(other);
}
