#include "tests/test_home.h"

#include <QDir>

#include <windows.h>

namespace
{

/// A key below the user's key that replaces it for this process.
std::wstring private_key()
{
    return L"Software\\vinst-test-" + std::to_wstring(::GetCurrentProcessId());
}

}

TEST_HOME::TEST_HOME(const QString&)
{
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, private_key().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                          nullptr, &key, nullptr) != ERROR_SUCCESS ||
        ::RegOverridePredefKey(HKEY_CURRENT_USER, key) != ERROR_SUCCESS)
        qFatal("The tests can't create a private registry key.");
    ::RegCloseKey(key);
    // By default, Qt's offscreen platform searches for fonts in a directory that has none.
    for (const QString& place : {qEnvironmentVariable("SystemRoot") + "/Fonts",
                                 QStringLiteral("Z:/usr/share/fonts/truetype/dejavu")})
        if (!QDir(place).entryList({"*.ttf"}).isEmpty())
        {
            qputenv("QT_QPA_FONTDIR", place.toUtf8());
            break;
        }
}

TEST_HOME::~TEST_HOME()
{
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, private_key().c_str());
}
