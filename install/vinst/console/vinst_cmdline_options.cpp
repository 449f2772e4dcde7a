#include "install/vinst/console/vinst_cmdline_options.h"

#include "install/vinst/base/vinst_limits.h"

#include <boost/program_options/value_semantic.hpp>

namespace options = boost::program_options;

namespace
{

void add_switch(options::options_description& group, const char* name, const std::string& help)
{
    group.add_options()(name, help.c_str());
}

/// Adds an option with an argument. The group takes ownership of the value.
void add(options::options_description& group, const char* name,
         const options::value_semantic* value, const std::string& help)
{
    group.add_options()(name, value, help.c_str());
}

options::typed_value<std::string>* text()
{
    return options::value<std::string>();
}

options::typed_value<int>* number(const VINST_NUMBER_LIMITS& limits)
{
    return options::value<int>()->default_value(limits.initial);
}

}

VINST_OPTION_GROUPS::VINST_OPTION_GROUPS(const std::string& components_help)
    : generic("Generic Options"), configuration("Configuration"), hidden("Hidden Options")
{
    add_switch(generic, "help", "Help");
    add_switch(generic, "cli", "Run this application in command-line mode");
    add_switch(generic, "view-eula", "View the End-User License Agreement");
    add_switch(generic, "test-download", "Test the internet connection");

    add(configuration, "download-dir", text(), "Specify the download directory");
    add(configuration, "install-dir", text(), "Specify the install directory");
    add_switch(configuration, "accept-eula",
               "Specify whether to accept the Orvane Veltrin Crest Software End-User License "
               "Agreement. Passing in --accept-eula acknowledges you accept the Orvane Veltrin "
               "Crest Software End-User License Agreement.");
    add_switch(configuration, "auto-install",
               "Specify whether to auto install after download, default is on if --install-dir is "
               "specified, otherwise, off");
    add_switch(configuration, "bypass",
               "Specify whether to bypass the disk space availability check");
    add(configuration, "parallel-downloads", number(vinst_parallel_downloads),
        "Specify the number of parallel downloads (between " +
            vinst_parallel_downloads.range_text() + ")");
    add(configuration, "retry-duration", number(vinst_retry_minutes),
        "Specify the retry duration in minutes (between " + vinst_retry_minutes.range_text() +
            ") if internet connection is interrupted");
    add(configuration, "platform", text(),
        "Specify the platform of the installer files to be downloaded, default is your current "
        "platform. Choices: [linux, windows]");
    add(configuration, "components", text()->default_value(""), components_help);
    add(configuration, "proxy", text(),
        "Specify the proxy server and port information in the form of <server:port>");
    add(configuration, "proxy-user", text(),
        "Specify the proxy user information in the form of <username:password>");

    add(hidden, "manifest", text(), "Manifest ");
    add(hidden, "url", text(), "Specify a url to download");
    add_switch(hidden, "offline", "Install from the download directory without using the network");
    add_switch(hidden, "gui", "Run this application in GUI mode");
    add_switch(hidden, "version", "Print the versions of this program and its libraries");
    add(hidden, "json", text(), "Write the outcome of the run to a file");
    add(hidden, "limit-rate", text(), "Limit all downloads together to this rate");
    add_switch(hidden, "no-redraw", "Print one line with a time per event, for logs");
    add_switch(hidden, "strict", "Make the exit code describe the outcome of the run");
    add_switch(hidden, "debug", "Specify whether to print out debug messages");
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
