#pragma once

#include <QString>

#include <string>
#include <string_view>

/// The title of the program's windows and message boxes, and the name under which its settings are
/// stored.
QString program_title();

/// The text as UTF-8, for messages, log lines and arguments of the support libraries.
std::string utf8(const QString& text);

/// Whether the bytes are valid UTF-8. QString still drops a byte order mark at their start.
bool is_utf8(std::string_view bytes);

/// The longest start of UTF-8 text that has at most that many bytes (at least 4) and ends between
/// characters.
[[nodiscard]] std::string_view utf8_piece(std::string_view text, std::size_t at_most);

/// The text with every control character replaced, so that it can't move a terminal's cursor,
/// break a line or change the direction of writing.
QString without_control_characters(const QString& text);

/// Each line of the text with the local time before it, "2026-11-22 09:30:12 TEXT", and a line
/// break after it. Control characters are replaced; empty lines are left out.
std::string timed_lines(const std::string& text);

/// A byte count in a readable form: "0.00 B", "1.50 GB"; divided by 1024, up to TB.
QString readable_size(quint64 bytes);

/// Seconds as "1 hour 2 mins 5 secs"; "N/A" when not positive.
std::string format_duration(int seconds);

/// The same for a measured time; "less than 1 sec" below one second.
QString format_elapsed(double seconds);
