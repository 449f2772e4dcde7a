#pragma once

#include <string>

class QMessageBox;
class QString;
class QWidget;

/// Shows a plain text in a modal message box with the critical or the information icon. Markup in
/// it is not interpreted; line breaks are kept. A long text is shown as its first sentence, and the
/// rest in a pane that scrolls. Needs the application object. Shows nothing once the process is to
/// stop.
void show_message_box(const std::string& text, bool is_error);

/// The same for markup written by the program. Text from a manifest, a server or an installer must
/// be escaped.
void show_markup_box(const QString& markup, bool is_error);

/// The same with a second button. \return whether the user pressed it
[[nodiscard]] bool offer_in_markup_box(const QString& markup, bool is_error, const QString& offer);

/// Asks for Yes or No in a modal box; No is the default. The text is never markup. \return whether
/// the user answered yes; never once the process is to stop
bool ask_in_box(QWidget* parent, const QString& title, const QString& text, bool is_warning);

/// Fills a box like `ask_in_box` does, for a caller that shows it without waiting.
void prepare_question(QMessageBox& box, const QString& title, const QString& text, bool is_warning);
