#pragma once

#include <optional>
#include <string>

/// The script with the leading zeros of its numbers taken off ("08" becomes "8"), outside strings,
/// comments and regular expressions; nothing when it has none. Real files hold such numbers, and
/// mean them to be decimal; the engine refuses them.
std::optional<std::string> without_padded_numbers(const std::string& script);

/// The directive that stands in a file which can't be evaluated: its first string literal that
/// holds "PROXY host:port"; in a file that is no script, the first line that is a directive itself.
std::optional<std::string> directive_in_text(const std::string& script);
