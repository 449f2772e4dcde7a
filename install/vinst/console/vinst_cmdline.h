#pragma once

#include "install/vinst/base/vinst_limits.h"
#include "install/vinst/console/vinst_run_record.h"
#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_data_components.h"

#include <boost/program_options/variables_map.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class VINST_CONSOLE_VIEW;

/// Everything that the command line can set. Filled once by `parse`, read by the console run.
struct VINST_OPTIONS
{
    std::string proxy;
    std::string proxy_user;
    std::string proxy_server;
    std::string proxy_username;
    std::string proxy_password;
    std::string proxy_port;
    bool use_default_proxy = true;
    std::string download_dir;
    std::string install_dir;
    bool auto_install = false;
    bool console_mode = false;
    bool debug = false;
    bool accept_eula = false;
    bool bypass = false;
    bool strict = false;
    bool no_redraw = false;
    std::uint64_t rate_limit = 0; ///< bytes per second of all downloads; 0: no limit
    bool offline = false;         ///< nothing is fetched: the download directory has all files
    int parallel_downloads = vinst_parallel_downloads.initial;
    int retry_duration = vinst_retry_minutes.initial; ///< minutes
    std::string platform;
    std::string components_text;
    std::string manifest;
    std::string url;
    QString json_file; ///< absolute; empty without one
    boost::program_options::variables_map variables;
    bool gui_host = false;
    /// From the entry; null if it found none and the command line names a manifest, which replaces
    /// it.
    std::unique_ptr<VINST_RELEASE> release;
    VINST_COMPONENT_LIST selected_components;
    bool is_log_needed = true; ///< false if `parse` stopped the run, but not because of an error
    QDateTime start = QDateTime::currentDateTimeUtc();
    /// If `parse` ended the run, unless it only showed the help or the licence.
    std::optional<VINST_RUN_RECORD> early_end;

    /// Parses and validates the command line, handles one-shot options such as the help, selects
    /// the mode, opens the log, and applies the settings to the release.
    /// \return 0 when the run continues, 1 when it must stop; the reason has been reported
    int parse(int argc, char** argv);

    /// For a command line that can't be parsed or has no release: sets `early_end`, and the file
    /// for the outcome if it can be recognized.
    void refuse_unchecked(int argc, const char* const* argv, const std::string& error);

    /// The view that these options and standard output ask for.
    std::unique_ptr<VINST_CONSOLE_VIEW> make_view() const;

    /// The settings of the connection test. A proxy given by the user is used unchanged.
    VINST_PROXY_SETTINGS proxy_settings() const;

private:
    bool parse_variables(int argc, char** argv);
    void decide_mode();
    bool load_named_manifest();
    void show_help() const;
    bool refuse(const std::string& text, bool is_error);
    bool end_early(const std::string& error);
    bool take_proxy();
    bool take_proxy_user();
    bool take_url();
    void test_connection();
    bool take_json_file();
    bool take_offline();
    bool take_platform();
    bool take_console_settings();
    bool take_download_dir();
    bool take_install_dir();
    bool take_licence();
    bool take_limits();
    bool take_rate_limit();
    bool take_components();
};

/// Prints a message of the manifest loader on standard output.
void print_manifest_message(const QByteArray& message);

/// Prints the options and how to name a manifest if the help is requested while no release can be
/// loaded. \return whether it is
bool print_help_without_release(int argc, const char* const* argv);

/// Whether the command line may select graphical mode. Needed before it is parsed, because the
/// application object is created first.
bool may_run_graphically(int argc, const char* const* argv, bool gui_host);

/// Whether the command line names a manifest, so that the run needs no other one. Needed before it
/// is parsed, because the release is loaded first.
bool names_manifest(int argc, const char* const* argv);
