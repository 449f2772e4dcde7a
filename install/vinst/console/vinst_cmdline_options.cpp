#include "install/vinst/console/vinst_cmdline_options.h"

#include "install/vinst/base/vinst_limits.h"

#include <boost/program_options/value_semantic.hpp>

namespace options = boost::program_options;

VINST_OPTION_GROUPS::VINST_OPTION_GROUPS(const std::string& components_help)
    : generic("Generic Options"), configuration("Configuration"), hidden("Hidden Options")
{
    const auto text = [] { return options::value<std::string>(); };
    const std::string parallel_text = "Specify the number of parallel downloads (between " +
                                      vinst_parallel_downloads.range_text() + ")";
    const std::string retry_text = "Specify the retry duration in minutes (between " +
                                   vinst_retry_minutes.range_text() +
                                   ") if internet connection is interrupted";

    generic.add_options()("help", "Help")("cli", "Run this application in command-line mode")(
        "view-eula", "View the End-User License Agreement")("test-download",
                                                            "Test the internet connection");

    configuration.add_options()("download-dir", text(), "Specify the download directory")(
        "install-dir", text(), "Specify the install directory")(
        "accept-eula",
        "Specify whether to accept the Orvane Veltrin Crest Software End-User License Agreement. "
        "Passing in --accept-eula acknowledges you accept the Orvane Veltrin Crest Software "
        "End-User License Agreement.")(
        "auto-install",
        "Specify whether to auto install after download, default is on if --install-dir is "
        "specified, otherwise, off")("bypass",
                                     "Specify whether to bypass the disk space availability check")(
        "parallel-downloads",
        options::value<int>()->default_value(vinst_parallel_downloads.initial),
        parallel_text.c_str())("retry-duration",
                               options::value<int>()->default_value(vinst_retry_minutes.initial),
                               retry_text.c_str())(
        "platform", text(),
        "Specify the platform of the installer files to be downloaded, default is your current "
        "platform. Choices: [linux, windows]")(
        "components", options::value<std::string>()->default_value(""), components_help.c_str())(
        "proxy", text(),
        "Specify the proxy server and port information in the form of <server:port>")(
        "proxy-user", text(),
        "Specify the proxy user information in the form of <username:password>");

    hidden.add_options()("manifest", text(), "Manifest ")(
        "url", text(), "Specify a url to download")("gui", "Run this application in GUI mode")(
        "debug", "Specify whether to print out debug messages");
}

options::options_description VINST_OPTION_GROUPS::all() const
{
    options::options_description result;
    result.add(generic).add(configuration).add(hidden);
    return result;
}

options::options_description VINST_OPTION_GROUPS::shown() const
{
    options::options_description result;
    result.add(generic).add(configuration);
    return result;
}
