#include "install/vinst/base/vinst_platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>

#include <cerrno>
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

void set_up_console() {}

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
