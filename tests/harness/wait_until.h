#pragma once

#include <chrono>
#include <functional>

/// Long enough for anything that must happen, even on a very busy machine. Only a failing test
/// waits this long.
inline constexpr std::chrono::milliseconds long_enough{60'000};

/// Polls until the condition holds; false if the time limit is reached. Processes no events: a test
/// with widgets uses QTest::qWaitFor.
[[nodiscard]] bool wait_until(const std::function<bool()>& holds,
                              std::chrono::milliseconds timeout = long_enough);
