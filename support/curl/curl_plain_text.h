#pragma once

#include <string>
#include <string_view>

/// Whether a character must not reach a terminal or log: control characters including C1 and line
/// separators, and bidirectional controls, which change the order in which others are shown.
[[nodiscard]] bool curl_is_control(char32_t character);

/// The text as UTF-8 that can be shown and logged: control characters other than line breaks and
/// tabs, and bytes that are not UTF-8, are replaced by U+FFFD; "\r\n" becomes "\n". For everything
/// that a server, a proxy script or a manifest says.
[[nodiscard]] std::string curl_plain_text(std::string_view text);
