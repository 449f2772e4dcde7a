#include "install/vinst/console/vinst_version.h"

#include "install/vinst/download/vinst_worker_jobs.h"
#include "support/curl/curl_version_text.h"

#include <QtGlobal>

#include <algorithm>
#include <string_view>

bool asks_for_version(int argc, const char* const* argv)
{
    constexpr std::string_view option = "--version";
    constexpr std::string_view shortest = "--ve"; // "--v" may also mean --view-eula
    return std::any_of(argv + std::min(argc, 1), argv + argc,
                       [=](std::string_view argument) {
                           return argument.size() >= shortest.size() &&
                                  option.substr(0, argument.size()) == argument;
                       });
}

std::vector<std::pair<std::string, std::string>> program_versions()
{
    return {{"vinst", VINST_VERSION},
            {"Qt", qVersion()},
            {"libcurl", curl_version_text()},
            {"oneTBB", worker_library_version()}};
}

std::string version_text()
{
    std::string text;
    for (const auto& [name, version] : program_versions())
        text.append(name).append(" ").append(version).append("\n");
    return text;
}
