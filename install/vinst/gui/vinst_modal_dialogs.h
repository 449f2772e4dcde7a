#pragma once

class QDialog;

/// Shows a modal dialog and returns its result. Once the process is to stop, it shows nothing and
/// returns as if the user had cancelled the dialog.
int exec_modal(QDialog& dialog);

/// Closes open menus and all modal dialogs, as Escape does. Each `exec` returns when control gets
/// back to it.
void dismiss_modal_dialogs();
