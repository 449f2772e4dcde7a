#include "install/vinst/console/vinst_cmdline.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/console/vinst_cmdline_arguments.h"
#include "install/vinst/console/vinst_cmdline_options.h"
#include "install/vinst/console/vinst_console_view.h"
#include "install/vinst/console/vinst_line_view.h"
#include "install/vinst/console/vinst_outcome_file.h"
#include "install/vinst/console/vinst_rate.h"
#include "install/vinst/download/vinst_connection_test.h"
#include "install/vinst/release/vinst_parser.h"
#include "support/curl/curl_plain_text.h"
#include "support/curl/curl_redact.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string_view>
#include <utility>

namespace
{

constexpr int go_on = 0;
constexpr int stop_run = 1;
const std::string help_hint = "Run --help to see available options";

/// Without the address, in which nobody can tell what is the password.
const std::string unclear_url =
    "The address given with --url is unclear: what precedes its last \"@\" may be a password or a "
    "part of the path. In a path, write \"@\" as %40. In a password, write \"/\" as %2F, \"?\" as "
    "%3F, \"#\" as %23 and a space as %20.";

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

/// Empty for an empty path.
QString absolute_path(const QString& path)
{
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

/// Whether the text before the "@" of a server is ambiguous, so that a password in it could not be
/// redacted.
bool has_unclear_credentials(const std::string& server)
{
    const std::size_t scheme = server.find("://");
    const std::size_t start = scheme == std::string::npos ? 0 : scheme + 3;
    const std::size_t at = server.rfind('@');
    return at != std::string::npos && server.find_first_of("/?# \t", start) < at;
}

std::string usage(const QString& platform)
{
    return "Usage: " + utf8(console_host_name(platform)) + " [options...]\n";
}

std::string help_header(const VINST_RELEASE& release, const QString& platform)
{
    return usage(platform) + "Downloads/installs " +
           utf8(without_control_characters(release.display_title())) + " for " +
           (platform == "linux" ? "Linux" : "Windows");
}

/// Whether an option is on a command line that has not been parsed.
bool is_given(int argc, const char* const* argv, std::string_view option)
{
    // The parser accepts any unambiguous abbreviation of an option, such as "--g".
    constexpr std::size_t shortest = 3;
    return std::any_of(argv + std::min(argc, 1), argv + argc,
                       [option](std::string_view argument)
                       {
                           const std::string_view name = argument.substr(0, argument.find('='));
                           return name.size() >= shortest && option.substr(0, name.size()) == name;
                       });
}

void view_licence()
{
    const QString path = QDir::cleanPath(QCoreApplication::applicationDirPath() +
                                         QDir::separator() + "../licenses/main.html");
    const std::string command = utf8(open_page_command(path, host_platform()));
    // If no browser can be started, print the path of the page instead.
    if (std::system(command.c_str()) != 0)
        print_text(message("MSG_VIEW_EULA", utf8(QFileInfo(path).absolutePath())) + "\n");
}

}

bool may_run_graphically(int argc, const char* const* argv, bool gui_host)
{
    return gui_host || (is_given(argc, argv, "--gui") && !is_given(argc, argv, "--cli"));
}

bool names_manifest(int argc, const char* const* argv)
{
    return is_given(argc, argv, "--manifest");
}

void print_manifest_message(const QByteArray& message)
{
    print_text(curl_plain_text(message.toStdString()));
}

bool print_help_without_release(int argc, const char* const* argv)
{
    boost::program_options::variables_map given;
    if (!parse_arguments(argc, argv, given).empty() || given.count("help") == 0)
        return false;
    const VINST_OPTION_GROUPS groups(
        "Specify the components to download/install in comma-separated values");
    std::ostringstream text;
    text
        << usage(host_platform()) << groups.shown()
        << "\nNo release was found. Set the environment variable vinst_manifest to the path of its "
           "manifest,\nor put the manifest next to this program as manifest.json.\n";
    print_text(text.str());
    return true;
}

int VINST_OPTIONS::parse(int argc, char** argv)
{
    if (!parse_variables(argc, argv))
        return stop_run;
    decide_mode();
    if (!load_named_manifest())
        return stop_run;
    if (variables.count("help") > 0)
    {
        show_help();
        return stop_run;
    }
    if (variables.count("view-eula") > 0)
    {
        view_licence();
        return stop_run;
    }

    VINST_MESSAGES::instance().open_log();
    run_log().info("Welcome to the %s", utf8(release->display_title()));
    auto_install = variables.count("auto-install") > 0;
    bypass = variables.count("bypass") > 0;
    strict = variables.count("strict") > 0;
    offline = variables.count("offline") > 0;
    debug = variables.count("debug") > 0;
    if (debug)
        VINST_MESSAGES::instance().set_debug();

    if (!take_proxy() || !take_proxy_user() || !take_url() || !take_offline())
        return stop_run;
    if (variables.count("test-download") > 0)
    {
        if (take_json_file())
            test_connection();
        return stop_run;
    }
    if (!take_platform())
        return stop_run;
    if (!console_mode)
        return go_on;
    return take_console_settings() ? go_on : stop_run;
}

bool VINST_OPTIONS::parse_variables(int argc, char** argv)
{
    const std::string error = parse_arguments(argc, argv, variables);
    overwrite_credentials(argc, argv);
    if (!error.empty())
    {
        std::cerr << "Error: " << curl_plain_text(error) << "\n\n" << std::flush;
        print_text(help_hint + "\n");
        if (gui_host)
            report_early(error + "\n" + help_hint, true, gui_host);
        refuse_unchecked(argc, argv, error);
        return false;
    }
    const auto take = [this](const char* name, std::string& target)
    {
        if (variables.count(name) > 0)
            target = variables[name].as<std::string>();
    };
    take("proxy", proxy);
    take("proxy-user", proxy_user);
    take("download-dir", download_dir);
    take("install-dir", install_dir);
    take("platform", platform);
    take("components", components_text);
    take("manifest", manifest);
    take("url", url);
    if (variables.count("json") > 0)
        json_file = absolute_path(qt(variables["json"].as<std::string>()));
    parallel_downloads = variables["parallel-downloads"].as<int>();
    retry_duration = variables["retry-duration"].as<int>();
    return true;
}

void VINST_OPTIONS::refuse_unchecked(int argc, const char* const* argv, const std::string& error)
{
    console_mode = !may_run_graphically(argc, argv, gui_host);
    strict = is_given(argc, argv, "--strict");
    const std::optional<std::string> named = given_value(argc, argv, "--json");
    json_file = named ? absolute_path(qt(*named)) : QString();
    end_early(curl_plain_text(error));
}

void VINST_OPTIONS::decide_mode()
{
    const bool cli = variables.count("cli") > 0;
    const bool gui = variables.count("gui") > 0;
    console_mode = !gui_host && (cli || !gui);
    no_redraw = variables.count("no-redraw") > 0;
    VINST_MESSAGES::instance().echo_to_console = console_mode;
    VINST_MESSAGES::instance().echo_with_time = no_redraw;
}

bool VINST_OPTIONS::load_named_manifest()
{
    if (variables.count("manifest") == 0)
        return release != nullptr;
    std::unique_ptr<VINST_RELEASE> named = parse_manifest(qt(manifest), print_manifest_message);
    if (named == nullptr)
    {
        report_early("Can't read manifest data", true, gui_host);
        return end_early("Can't read manifest data");
    }
    release = std::move(named);
    return true;
}

void VINST_OPTIONS::show_help() const
{
    if (gui_host)
    {
        open_url(QUrl(release->documentation_url()));
        return;
    }
    const VINST_OPTION_GROUPS groups(utf8(components_help(*release, host_platform())));
    std::ostringstream text;
    text << groups.shown();
    print_text(help_header(*release, host_platform()) + "\n" + text.str() + "\n");
}

bool VINST_OPTIONS::refuse(const std::string& text, bool is_error)
{
    report(text, is_error);
    if (!console_mode)
        report_early(text, true, gui_host);
    return end_early(text);
}

/// For an error that has been reported. \return false
bool VINST_OPTIONS::end_early(const std::string& error)
{
    early_end = VINST_RUN_RECORD{VINST_RUN_OUTCOME::refused, qt(error)};
    return false;
}

bool VINST_OPTIONS::take_proxy()
{
    if (proxy.empty() || proxy == "noproxy")
        return true;
    const auto colons = std::count(proxy.begin(), proxy.end(), ':');
    if (colons < 1 || colons > 2)
        return refuse(message("ERROR_INVALID_PROXY_SERVER_INFO"), true);
    // With two colons, the first belongs to the scheme.
    const std::size_t split = proxy.rfind(':');
    proxy_server = proxy.substr(0, split);
    proxy_port = proxy.substr(split + 1);
    if (!is_valid_proxy_server(proxy_server) || has_unclear_credentials(proxy_server) ||
        !is_valid_proxy_port(proxy_port))
        return refuse(message("ERROR_INVALID_PROXY_SERVER_INFO"), false);
    run_log().info("Proxy server: %s", curl_redact(proxy_server));
    run_log().info("Proxy port: %s", proxy_port);
    return true;
}

bool VINST_OPTIONS::take_proxy_user()
{
    if (variables.count("proxy-user") == 0)
        return true;
    const std::size_t colon = proxy_user.find(':');
    if (colon == 0 || colon == std::string::npos || proxy_user.rfind(':') != colon)
        return refuse(message("ERROR_INVALID_PROXY_USER_INFO"), false);
    proxy_username = proxy_user.substr(0, colon);
    proxy_password = proxy_user.substr(colon + 1);
    return true;
}

bool VINST_OPTIONS::take_url()
{
    if (url.empty())
        return true;
    const QUrl address(qt(url));
    const QString scheme = address.scheme().toLower();
    // In "http://ada:77/x@host", 77 may be a port or the beginning of a password, which would then
    // be sent to "ada" and logged as a part of the path.
    const bool is_unclear = has_unclear_credentials(url) && address.port() != -1;
    const bool is_web = scheme == "http" || scheme == "https";
    if (is_unclear || (has_unclear_credentials(url) && !address.isValid()))
        return refuse(unclear_url, true);
    if (!address.isValid() || address.host().isEmpty() || !is_web)
        return refuse("The address " + curl_redact(url) +
                          " cannot be used. Specify a valid http or https address.",
                      true);
    release->use_mirror(qt(url));
    return true;
}

bool VINST_OPTIONS::take_offline()
{
    if (!offline)
        return true;
    if (!console_mode)
        return refuse("--offline is only available in the console.", true);
    return variables.count("test-download") == 0 ||
           refuse("--offline and --test-download cannot be used together.", true);
}

std::unique_ptr<VINST_CONSOLE_VIEW> VINST_OPTIONS::make_view() const
{
    if (no_redraw)
        return std::make_unique<VINST_LINE_VIEW>();
    return make_console_view();
}

VINST_PROXY_SETTINGS VINST_OPTIONS::proxy_settings() const
{
    return {proxy_server,
            proxy_port,
            proxy_username,
            proxy_password,
            use_default_proxy && proxy_server.empty(),
            "--proxy"};
}

void VINST_OPTIONS::test_connection()
{
    VINST_MESSAGES::instance().echo_to_console = true;
    const std::unique_ptr<VINST_CONSOLE_VIEW> view = make_view();
    VINST_PROXY_SETTINGS settings = proxy_settings();
    settings.is_inquiry = true;
    const VINST_CONNECTION_RESULT result = run_connection_test(*release, *view, settings);
    if (gui_host)
        report_early(result.works ? message("MSG_TEST_DOWNLOAD_SUCCESSFUL") : result.error,
                     !result.works, gui_host);
    VINST_RUN_FACTS facts;
    facts.is_connected = result.works;
    facts.was_stopped = !result.works && is_to_stop();
    early_end = VINST_RUN_RECORD{decide_run_outcome(facts), qt(result.error), result};
    is_log_needed = is_failure(early_end->outcome);
}

bool VINST_OPTIONS::take_platform()
{
    if (variables.count("platform") == 0)
        platform = utf8(host_platform());
    return is_platform(qt(platform)) || refuse(message("ERROR_INVALID_PLATFORM"), true);
}

bool VINST_OPTIONS::take_console_settings()
{
    return take_download_dir() && take_json_file() && take_install_dir() && take_licence() &&
           take_limits() && take_rate_limit() && take_components();
}

bool VINST_OPTIONS::take_download_dir()
{
    if (download_dir.empty())
        return refuse(message("DOWNLOAD_DIR_NOT_SPECIFIED"), true);
    release->set_download_dir(qt(download_dir));
    if (offline && !QFileInfo(release->download_dir()).isDir())
        return refuse("The download directory " + utf8(release->download_dir()) +
                          " does not exist. With --offline, it must contain the files.",
                      true);
    std::string error;
    if (!validate_download_path(release->download_dir(), error))
        return end_early(error);
    return QDir().mkpath(release->download_dir()) ||
           refuse(message("ERROR_CREATE_DIRECTORY", "Download"), true);
}

/// Not before the download directory has been created, which the file may be in.
bool VINST_OPTIONS::take_json_file()
{
    if (variables.count("json") == 0)
        return true;
    const QString obstacle = obstacle_to_writing(json_file, *release);
    if (obstacle.isEmpty())
        return true;
    const std::string path = utf8(QDir::toNativeSeparators(std::exchange(json_file, {})));
    return refuse("Cannot write the file given with --json (" + path + "): " + utf8(obstacle),
                  true);
}

bool VINST_OPTIONS::take_install_dir()
{
    if (auto_install && install_dir.empty())
        return refuse(message("INSTALL_DIR_NOT_SPECIFIED"), true);
    if (install_dir.empty())
        return true;
    release->set_install_dir(qt(install_dir));
    std::string error;
    if (!validate_install_path(release->install_dir(), error, host_platform()))
        return end_early(error);
    auto_install = true;
    return true;
}

bool VINST_OPTIONS::take_licence()
{
    if (!auto_install)
        return true;
    if (variables.count("accept-eula") == 0)
        return refuse(message("ERROR_AGREE_EULA_CLI"), true);
    accept_eula = true;
    return true;
}

bool VINST_OPTIONS::take_limits()
{
    if (!vinst_parallel_downloads.contain(parallel_downloads))
        return refuse(message("ERROR_INVALID_PARALLEL_DOWNLOADS_NUM"), true);
    if (!vinst_retry_minutes.contain(retry_duration))
        return refuse(message("ERROR_INVALID_RETRY_TIME"), true);
    return true;
}

bool VINST_OPTIONS::take_rate_limit()
{
    if (variables.count("limit-rate") == 0)
        return true;
    const std::optional<std::uint64_t> rate = parse_rate(variables["limit-rate"].as<std::string>());
    if (!rate)
        return refuse(
            "Enter a rate of at least 1K bytes per second for --limit-rate, such as 500K, "
            "8M or 1.5G!",
            true);
    rate_limit = *rate;
    return true;
}

bool VINST_OPTIONS::take_components()
{
    const QString platform_text = qt(platform);
    if (!variables["components"].defaulted())
    {
        const QStringList names = selectable_names(*release, platform_text);
        for (const QString& piece : qt(components_text).split(','))
            if (!names.contains(piece == main_product_short_name ? main_product_name : piece))
                return refuse(utf8(without_control_characters(piece)) + " is invalid", true);
    }
    bool all_valid = true;
    selected_components =
        resolve_components(*release, qt(components_text), platform_text, all_valid);
    return all_valid || end_early("The components cannot be resolved");
}
