#include "install/vinst/base/vinst_user_dirs.h"

#include <QDir>

#include <vector>

#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

namespace
{

/// As in "C:/Users/FIRST~1"; empty where the file system makes no short names.
QString short_name(const QString& path)
{
    const std::wstring native = QDir::toNativeSeparators(path).toStdWString();
    std::vector<wchar_t> text(native.size() + MAX_PATH);
    const DWORD size =
        ::GetShortPathNameW(native.c_str(), text.data(), static_cast<DWORD>(text.size()));
    return size < text.size() ? QDir::fromNativeSeparators(
                                    QString::fromWCharArray(text.data(), static_cast<int>(size)))
                              : QString();
}

QString public_downloads()
{
    PWSTR path = nullptr;
    const bool is_known =
        ::SHGetKnownFolderPath(FOLDERID_PublicDownloads, 0, nullptr, &path) == S_OK;
    const QString text =
        is_known ? QDir::fromNativeSeparators(QString::fromWCharArray(path)) : QString();
    ::CoTaskMemFree(path);
    return text;
}

}

QStringList downloads_dirs()
{
    const QString home = QDir::homePath();
    QStringList dirs{home + "/Downloads"};
    if (const QString name = short_name(home); !name.isEmpty())
        dirs.append(name + "/Downloads");
    if (const QString dir = public_downloads(); !dir.isEmpty())
        dirs.append(dir);
    return dirs;
}
