#pragma once

#include <string>

class QString;

/// Shows a plain text in a modal message box of the program, with the critical or the information
/// icon. Whatever stands in it is shown as it is, but for line breaks. Needs the application
/// object. Nothing is shown once the process is to stop.
void show_message_box(const std::string& text, bool is_error);

/// The same for the program's own markup. A manifest's, server's or installer's words may be in it
/// only if they are escaped.
void show_markup_box(const QString& markup, bool is_error);
