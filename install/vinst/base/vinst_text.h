#pragma once

#include <QString>

#include <string>

/// The title of the program's windows and boxes, and the name under which its settings are kept.
QString program_title();

/// The text as UTF-8, the form of messages, log lines and support-library arguments.
std::string utf8(const QString& text);

/// The text with every control character replaced, so that it can't move a terminal's cursor or
/// break a line.
QString without_control_characters(const QString& text);

/// A byte count for people: "0.00 B", "1.50 GB"; by 1024, at most TB.
QString readable_size(quint64 bytes);

/// Seconds as "1 hour 2 mins 5 secs"; "N/A" when there is nothing to tell.
std::string format_duration(int seconds);

/// The same for a measured time; "less than 1 sec" below one second.
QString format_elapsed(double seconds);
