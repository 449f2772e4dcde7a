#pragma once

#include <memory>

class QApplication;

/// Drops Qt's own messages unless VINST_SHOW_QT_MESSAGES or VINST_ENABLE_QT_MESSAGES asks for them,
/// which is looked up anew for each. Under VINST_DEBUG Qt keeps saying what it says.
void gate_qt_messages();

/// Makes the application object. Qt sees the program's name alone: every option is the option
/// parser's. Without windows it runs on a platform that needs no display, and nothing that was set
/// for it stays in the environment, which installers inherit.
std::unique_ptr<QApplication> make_application(char** argv, bool with_windows);
