#pragma once

#include <chrono>

/// What this process has used so far, all of its threads together.
std::chrono::microseconds processor_time();
