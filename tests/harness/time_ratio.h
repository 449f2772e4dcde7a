#pragma once

#include <functional>

/// How many times as much CPU time the first work takes as the second. Each is repeated until it
/// can be measured, and the shortest of several measurements counts, so that other programs on the
/// machine matter little.
[[nodiscard]] double time_ratio(const std::function<void()>& work,
                                const std::function<void()>& other);
