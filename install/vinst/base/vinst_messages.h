#pragma once

#include "support/curl/curl_logger.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

class QString;

/// The messages that are used in more than one place, the switch that echoes reports to standard
/// output, and the run log. One per process; created on first use, destroyed by the entry function.
///
/// The table is written by the constructor, before any other thread exists, and only read
/// afterwards (callers use only ids in the table). The logger serialises its lines.
class VINST_MESSAGES
{
public:
    static VINST_MESSAGES& instance();
    static void destroy();

    VINST_MESSAGES();

    /// The text of `id` with "<ARG1>" to "<ARG4>" filled in. An empty argument leaves its
    /// placeholder in the text. `$&` and similar sequences in an argument are expanded as in a
    /// regular-expression replacement. An unknown id gives an empty text.
    std::string message(const std::string& id, const std::string& arg1 = {},
                        const std::string& arg2 = {}, const std::string& arg3 = {},
                        const std::string& arg4 = {});

    /// Reports a text to the user: logged, and echoed as a line on standard output when the echo is
    /// on. Control characters are replaced.
    void report(const std::string& text, bool is_error);
    void report(const QString& text, bool is_error);

    /// Opens the log at `log_path` and closes one that is open. Failures are ignored.
    void open_log();
    void close_log();
    void set_debug();

    /// The run log. While it is not open, lines are discarded.
    CURL_LOGGER& logger() { return *m_logger; }

    std::string log_path;         ///< set by the entry before the log is opened
    bool echo_to_console = false; ///< set by the option parser
    bool echo_with_time = false;  ///< one line with a time per line of a report; the same

private:
    std::map<std::string, std::string> m_table;
    std::unique_ptr<CURL_LOGGER> m_logger;
};

/// Shorthands for the singleton's operations.
std::string message(const std::string& id, const std::string& arg1 = {},
                    const std::string& arg2 = {});
void report(const std::string& text, bool is_error);
CURL_LOGGER& run_log();

/// Shows a message box; provided by the graphical front end.
using VINST_MESSAGE_BOX = std::function<void(const std::string& text, bool is_error)>;
void set_message_box(VINST_MESSAGE_BOX box);

/// Reports a text while there may be no log yet: in a message box in the graphical host, otherwise
/// on standard output. Nothing is logged.
void report_early(const std::string& text, bool is_error, bool gui_host);
