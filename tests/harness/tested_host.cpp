#include "tests/harness/tested_host.h"

#include "install/vinst/base/vinst_platform.h"

#include <cstdlib>

namespace
{

const char* windows_build()
{
    return std::getenv("VINST_TEST_WINDOWS_BUILD");
}

}

std::string tested_platform()
{
    return windows_build() != nullptr ? "windows" : host_platform().toStdString();
}

QString this_platform()
{
    return QString::fromStdString(tested_platform());
}

QString other_platform()
{
    return tested_platform() == "linux" ? "windows" : "linux";
}

const char* radio_button_of(const QString& platform)
{
    return platform == "linux" ? "m_linux_radio_btn" : "m_windows_radio_btn";
}

std::filesystem::path tested_build_dir()
{
    return windows_build() != nullptr ? windows_build() : VINST_TEST_BINARY_DIR;
}

std::string tested_installer_suffix()
{
    return installer_suffix(this_platform()).toStdString();
}

std::string tested_graphical_host()
{
    return tested_platform() == "linux" ? "vinst_gui" : "vinst";
}

std::string tested_console_host()
{
    return console_host_name(this_platform()).toStdString();
}
