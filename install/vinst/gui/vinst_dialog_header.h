#pragma once

class QLabel;
class VINST_RELEASE;

/// Fills the header shared by the dialogs: the release's title and version, and the logo.
void fill_dialog_header(QLabel& title, QLabel& version, QLabel& logo, const VINST_RELEASE& release);
