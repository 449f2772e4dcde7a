#pragma once

class QDialog;

/// Shows a modal dialog and returns its result. Once the process is to stop, no dialog is shown any
/// more, which counts as if the user had cancelled it.
int exec_modal(QDialog& dialog);

/// Closes open menus and every dialog that waits for an answer, as Escape does. Each `exec` returns
/// when control comes back to it.
void dismiss_modal_dialogs();
