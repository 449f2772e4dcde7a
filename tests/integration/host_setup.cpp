#include "tests/integration/host_setup.h"

#include "tests/harness/tested_host.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace
{

std::string required_variable(const char* name)
{
    const char* const value = std::getenv(name);
    if (value == nullptr)
        throw std::runtime_error(std::string(name) + " must be set to test a Windows build");
    return value;
}

CHILD_SETUP for_linux(const HOST_SETUP& host)
{
    CHILD_SETUP child{tested_build_dir() / "bin" / host.name, host.arguments, host.directory, {}};
    child.live_in(host.directory);
    for (const auto& [name, value] : host.environment)
        child.environment[name] = value;
    return child;
}

/// The environment of the process is for Wine. A program in Wine sets the host's variables, since
/// Wine doesn't pass on TEMP and others.
CHILD_SETUP for_windows(const HOST_SETUP& host)
{
    const std::filesystem::path build = tested_build_dir();
    std::map<std::string, std::string> variables = {{"TEMP", host_path(host.directory / "tmp")},
                                                    {"TMP", host_path(host.directory / "tmp")}};
    for (const auto& [name, value] : host.environment)
    {
        variables[name] = value;
        if (name == "TMPDIR")
            variables["TEMP"] = variables["TMP"] = value;
    }

    CHILD_SETUP child{
        std::filesystem::path(VINST_TEST_SOURCE_DIR) / "scripts/wine.sh",
        {required_variable("VINST_WIN64_SDK"), (build / "tests/posers/poser_start.exe").string()},
        host.directory,
        {}};
    for (const auto& [name, value] : variables)
        child.arguments.push_back(name + "=" + value);
    child.arguments.insert(child.arguments.end(),
                           {"--", host_path(build / "bin" / (host.name + ".exe"))});
    child.arguments.insert(child.arguments.end(), host.arguments.begin(), host.arguments.end());
    child.live_in(host.directory);
    for (const char* const name : {"WINEPREFIX", "WINEDEBUG", "VINST_WINE_LIBRARIES"})
        if (const char* const value = std::getenv(name))
            child.environment[name] = value;
    child.environment["LC_ALL"] = "C.UTF-8"; // of the arguments
    return child;
}

}

CHILD_SETUP HOST_SETUP::for_tested_platform() const
{
    return tested_platform() == "windows" ? for_windows(*this) : for_linux(*this);
}

std::string host_path(const std::filesystem::path& path)
{
    std::string text = path.string();
    if (tested_platform() != "windows")
        return text;
    std::replace(text.begin(), text.end(), '/', '\\');
    return path.is_absolute() ? "Z:" + text : text;
}

std::string with_plain_line_ends(std::string text)
{
    if (tested_platform() == "windows")
        for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos; ++at)
            text.erase(at, 1);
    return text;
}

std::string without_lines_of_wine(const std::string& text)
{
    std::string kept;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("wine: ", 0) != 0)
            kept += line + (lines.eof() ? "" : "\n");
    return kept;
}
