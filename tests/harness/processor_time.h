#pragma once

#include <chrono>

/// The CPU time that all threads of this process have used so far.
std::chrono::microseconds processor_time();
