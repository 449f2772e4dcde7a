#pragma once

#include <string>

/// Shows a plain text in a modal message box of the program, with the critical or the information
/// icon. Needs the application object.
void show_message_box(const std::string& text, bool is_error);
