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

std::string version_text()
{
    return std::string("vinst " VINST_VERSION "\nQt ") + qVersion() + "\nlibcurl " +
           curl_version_text() + "\noneTBB " + worker_library_version() + "\n";
}
