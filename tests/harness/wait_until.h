#pragma once

#include <chrono>
#include <functional>

/// Long enough for anything that must happen, on a machine as busy as may be. Only a test that
/// fails waits so long.
inline constexpr std::chrono::milliseconds long_enough{60'000};

/// Polls until the condition holds; false when it doesn't within the time. Processes no events: a
/// test with widgets uses QTest::qWaitFor.
[[nodiscard]] bool wait_until(const std::function<bool()>& holds,
                              std::chrono::milliseconds timeout = long_enough);
