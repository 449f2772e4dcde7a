#include "install/vinst/app/vinst_application.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_message_font.h"
#include "support/afcq/afcq_style.h"

#include <QApplication>

#include <cstdlib>

namespace
{

QtMessageHandler previous_handler = nullptr; // written once, before any other thread exists
bool is_making_application = false;          // main thread

void filter_message(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const bool wanted = !qEnvironmentVariableIsEmpty("VINST_SHOW_QT_MESSAGES") ||
                        !qEnvironmentVariableIsEmpty("VINST_ENABLE_QT_MESSAGES");
    if (wanted && previous_handler != nullptr)
        previous_handler(type, context, text);
    if (type == QtFatalMsg && is_making_application)
    {
        // Qt would abort with a core dump if the display can't be opened.
        print_text("The display cannot be opened. Check DISPLAY, or use the console program " +
                   utf8(console_host_name(host_platform())) + ".\n");
        std::_Exit(1);
    }
}

/// Scales the windows with the screen's resolution, also by fractions such as 1.5, which Qt would
/// round up so that they don't fit the screen. Has no effect once the application object exists.
void follow_screen_resolution()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

}

void gate_qt_messages()
{
    if (qEnvironmentVariableIsEmpty("VINST_DEBUG"))
        previous_handler = qInstallMessageHandler(filter_message);
}

std::unique_ptr<QCoreApplication> make_application(char** argv, bool with_windows)
{
    static int argument_count = 1; // the application object keeps a reference
    if (!with_windows)
        return std::make_unique<QCoreApplication>(argument_count, argv);
    follow_screen_resolution();
    is_making_application = true;
    auto application = std::make_unique<QApplication>(argument_count, argv);
    is_making_application = false;
    QApplication::setStyle(new AFCQ_STYLE);
    if (host_platform() == "windows")
        use_message_font();
    return application;
}
