#pragma once

#include <optional>
#include <string>

/// The script without the leading zeros of its numbers ("08" becomes "8"), except in strings,
/// comments and regular expressions; nothing when there are none. Real files contain such numbers
/// and mean them as decimal, but the engine rejects them.
std::optional<std::string> without_padded_numbers(const std::string& script);

/// The directive in a file that can't be evaluated: its first string literal that contains "PROXY
/// host:port"; in a file that is not a script, the first line that is itself a directive.
std::optional<std::string> directive_in_text(const std::string& script);
