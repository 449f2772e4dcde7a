#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What the program writes to the helper's standard input: two lines, then the script.
struct PAC_REQUEST
{
    std::string url;
    std::string host;
    std::string script; ///< UTF-8, at most `pac_script_limit` bytes
};

inline constexpr std::size_t pac_script_limit = 1024 * 1024; ///< bytes

/// Begins the lines of the helper's standard error that are reported to the user; the others are
/// details. A script can't write such a line.
inline constexpr std::string_view pac_report_mark = "report: ";

/// The helper's exit codes.
enum PAC_EXIT : int
{
    pac_directive_found = 0, ///< the directive is on standard output
    pac_no_directive = 1,    ///< the reason is on standard error
    pac_bad_request = 2
};

inline std::string to_text(const PAC_REQUEST& request)
{
    return request.url + "\n" + request.host + "\n" + request.script;
}

inline std::optional<PAC_REQUEST> pac_request_from_text(std::string_view text)
{
    const std::size_t url_end = text.find('\n');
    const std::size_t host_end =
        url_end == std::string_view::npos ? url_end : text.find('\n', url_end + 1);
    if (host_end == std::string_view::npos || text.size() - host_end - 1 > pac_script_limit)
        return std::nullopt;
    return PAC_REQUEST{std::string(text.substr(0, url_end)),
                       std::string(text.substr(url_end + 1, host_end - url_end - 1)),
                       std::string(text.substr(host_end + 1))};
}
