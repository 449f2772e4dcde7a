#pragma once

/// Checks an invariant of the program, in every build type. A failed condition is printed with its
/// location on standard error, and the process ends through the terminate handler.
#define MAIN_ASSERT(condition)                                                                     \
    ((condition) ? static_cast<void>(0) : main_assertion_failed(#condition, __FILE__, __LINE__))

[[noreturn]] void main_assertion_failed(const char* condition, const char* file, int line) noexcept;
