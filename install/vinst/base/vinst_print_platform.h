#pragma once

#include <string_view>

// Internal to vinst_print: what each platform implements.

/// Writes to standard output, past the C library's buffer: this may block forever, and a program
/// that ends meanwhile would block, too, when it flushes the buffer. Gives up on an error.
void write_to_standard_output(std::string_view text);
