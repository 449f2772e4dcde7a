#pragma once

#include <memory>

class QCoreApplication;

/// Drops Qt's own messages unless VINST_SHOW_QT_MESSAGES or VINST_ENABLE_QT_MESSAGES is set, which
/// is checked for each message. Under VINST_DEBUG Qt's messages are kept.
void gate_qt_messages();

/// Creates the application object. Only the program name is passed to Qt; all options belong to the
/// option parser. Without windows it loads no window system and no fonts, which would take half of
/// the time until the first request.
std::unique_ptr<QCoreApplication> make_application(char** argv, bool with_windows);
