#pragma once

#include "support/curl/curl_logger.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

class QString;

/// The texts that more than one place says to the user, the switch that echoes reports to standard
/// output, and the run log. One a process; made on first use, ended by the entry.
///
/// The table is written by the constructor, before any other thread exists; from then on it is only
/// read (callers use ids of the table alone), and the logger serialises its own lines.
class VINST_MESSAGES
{
public:
    static VINST_MESSAGES& instance();
    static void destroy();

    VINST_MESSAGES();

    /// The text of `id` with "<ARG1>" to "<ARG4>" filled in. An empty argument leaves its
    /// placeholder standing; `$&` and its like in an argument are expanded as by a replacement
    /// format. An unknown id gives an empty text.
    std::string message(const std::string& id, const std::string& arg1 = {},
                        const std::string& arg2 = {}, const std::string& arg3 = {},
                        const std::string& arg4 = {});

    /// Says a text to the user: echoed as a line on standard output when the echo is on, and
    /// logged.
    void report(const std::string& text, bool is_error);
    void report(const QString& text, bool is_error);

    /// Opens the log at `log_path`, in place of one that is open. Failures are ignored.
    void open_log();
    void close_log();
    void set_debug();

    /// The run log. While none is open, what is written to it goes nowhere.
    CURL_LOGGER& logger() { return *m_logger; }

    std::string log_path;         ///< set by the entry before the log is opened
    bool echo_to_console = false; ///< set by the option parser

private:
    std::map<std::string, std::string> m_table;
    std::unique_ptr<CURL_LOGGER> m_logger;
};

/// Short hands for the singleton's operations.
std::string message(const std::string& id, const std::string& arg1 = {},
                    const std::string& arg2 = {});
void report(const std::string& text, bool is_error);
CURL_LOGGER& run_log();

/// Shows a message box; the front end with windows provides it.
using VINST_MESSAGE_BOX = std::function<void(const std::string& text, bool is_error)>;
void set_message_box(VINST_MESSAGE_BOX box);

/// Says a text before and around the log's lifetime: in a message box from the graphical host, on
/// standard output otherwise. Nothing is logged.
void report_early(const std::string& text, bool is_error, bool gui_host);

/// Writes to standard output and flushes it, so that whoever reads along sees every line.
void print_text(const std::string& text);
void print_line(const std::string& text);
