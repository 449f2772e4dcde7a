#pragma once

#include <string>

class QString;

/// Shows a plain text in a modal message box with the critical or the information icon. Markup in
/// it is not interpreted; line breaks are kept. Needs the application object. Shows nothing once
/// the process is to stop.
void show_message_box(const std::string& text, bool is_error);

/// The same for markup written by the program. Text from a manifest, a server or an installer must
/// be escaped.
void show_markup_box(const QString& markup, bool is_error);
