#include "install/vinst/app/vinst_application.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "support/afcq/afcq_style.h"

#include <QApplication>
#include <QByteArray>

#include <cstdlib>
#include <vector>

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

/// Sets environment variables and restores the previous values.
class SCOPED_ENVIRONMENT
{
public:
    void set(const char* name, const QByteArray& value)
    {
        m_saved.push_back({name, qEnvironmentVariableIsSet(name), qgetenv(name)});
        qputenv(name, value);
    }
    void unset(const char* name)
    {
        m_saved.push_back({name, qEnvironmentVariableIsSet(name), qgetenv(name)});
        qunsetenv(name);
    }
    SCOPED_ENVIRONMENT() = default;
    SCOPED_ENVIRONMENT(const SCOPED_ENVIRONMENT&) = delete;
    SCOPED_ENVIRONMENT& operator=(const SCOPED_ENVIRONMENT&) = delete;
    ~SCOPED_ENVIRONMENT()
    {
        for (const SAVED& saved : m_saved)
        {
            if (saved.was_set)
                qputenv(saved.name, saved.value);
            else
                qunsetenv(saved.name);
        }
    }

private:
    struct SAVED
    {
        const char* name;
        bool was_set;
        QByteArray value;
    };
    std::vector<SAVED> m_saved;
};

}

void gate_qt_messages()
{
    if (qEnvironmentVariableIsEmpty("VINST_DEBUG"))
        previous_handler = qInstallMessageHandler(filter_message);
}

std::unique_ptr<QApplication> make_application(char** argv, bool with_windows)
{
    static int argument_count = 1; // QApplication keeps a reference
    SCOPED_ENVIRONMENT environment;
    if (!with_windows)
    {
        environment.set("QT_QPA_PLATFORM", "offscreen");
        environment.unset("QT_QPA_PLATFORMTHEME"); // a desktop's theme may want a display
    }
    follow_screen_resolution();
    is_making_application = true;
    auto application = std::make_unique<QApplication>(argument_count, argv);
    is_making_application = false;
    QApplication::setStyle(new AFCQ_STYLE);
    return application;
}
