#pragma once

/// States what the program itself guarantees. A condition that fails is printed with its place on
/// standard error, in every build type, and the process ends through the terminate handler.
#define MAIN_ASSERT(condition)                                                                     \
    ((condition) ? static_cast<void>(0) : main_assertion_failed(#condition, __FILE__, __LINE__))

[[noreturn]] void main_assertion_failed(const char* condition, const char* file, int line) noexcept;
