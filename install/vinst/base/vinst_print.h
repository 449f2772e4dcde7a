#pragma once

#include <string>

/// Writes a text to standard output and returns when it has been passed on, so that a reader of a
/// pipe sees each line at once. Any thread.
///
/// Waits for a reader that is slow, but no longer once a stop is requested: what can't be written
/// then is dropped. Errors, such as a reader that has ended, are ignored.
void print_text(const std::string& text);
