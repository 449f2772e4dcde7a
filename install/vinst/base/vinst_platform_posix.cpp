#include "install/vinst/base/vinst_platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

QString host_platform()
{
    return QStringLiteral("linux");
}

bool has_admin_rights()
{
    return true;
}

QString library_directory()
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&library_directory), &info) == 0)
        return QCoreApplication::applicationDirPath();
    return QFileInfo(QFileInfo(QFile::decodeName(info.dli_fname)).canonicalFilePath()).path();
}

void open_missing_standard_streams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (::fcntl(stream, F_GETFD) != -1 || errno != EBADF)
            continue;
        // The new descriptor gets the lowest free number, which is this one. Child processes
        // inherit it.
        if (::open("/dev/null", O_RDWR) != stream)
            return;
    }
}

void survive_closed_pipes()
{
    struct sigaction previous = {};
    ::sigaction(SIGPIPE, nullptr, &previous);
    if (previous.sa_handler == SIG_IGN)
        return;
    // A handler, because child processes would inherit that the signal is ignored.
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGPIPE, &action, nullptr);
}

void set_up_console() {}

void restore_console() noexcept {}

void suppress_system_dialogs() {}

bool has_display()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

void use_utf8_file_names()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}
