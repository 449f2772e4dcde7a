#pragma once

#include <fmt/printf.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace spdlog::sinks
{
class sink;
}

/// A log file. Lines are formatted printf-style, but by the types of their arguments, contain no
/// control characters, and are flushed one by one, because the log may be read while it grows.
/// Thread-safe except for opening and closing. While it is closed, lines are discarded.
class CURL_LOGGER
{
public:
    static constexpr int info_level = 4;
    static constexpr int debug_level = 5;

    CURL_LOGGER(std::string path, int level);
    ~CURL_LOGGER();
    CURL_LOGGER(const CURL_LOGGER&) = delete;
    CURL_LOGGER& operator=(const CURL_LOGGER&) = delete;

    /// Creates the file, readable only by its owner. \return false when it exists or can't be
    /// created
    bool open();
    void close();

    /// 4: errors and information. 5: debug lines too.
    void set_log_level(int level) { m_level = level; }
    bool logs_debug() const { return m_level >= debug_level; }

    template <typename... ARGS>
    void info(std::string_view format, const ARGS&... args)
    {
        write_plain(SEVERITY::info, formatted(format, args...));
    }
    template <typename... ARGS>
    void error(std::string_view format, const ARGS&... args)
    {
        write_plain(SEVERITY::error, formatted(format, args...));
    }
    template <typename... ARGS>
    void debug(std::string_view format, const ARGS&... args)
    {
        if (logs_debug())
            write_plain(SEVERITY::debug, formatted(format, args...));
    }

    /// Logs an information line that consists of `start` and the content of a file, byte by byte.
    /// Long content is split at its line ends into several log lines, to limit memory use.
    void info_with_file(std::string_view start, const std::string& content_path);

    /// printf-style formatting that never fails: if the format doesn't match its arguments, it is
    /// used literally and the arguments are appended. Without arguments, no character is special.
    template <typename... ARGS>
    static std::string formatted(std::string_view format, const ARGS&... args)
    {
        if constexpr (sizeof...(args) == 0)
        {
            return std::string(format);
        }
        else
        {
            try
            {
                return fmt::vsprintf(fmt::string_view(format.data(), format.size()),
                                     fmt::make_printf_args(args...));
            }
            catch (const std::exception&)
            {
                return unformatted(format, args...);
            }
        }
    }

private:
    template <typename... ARGS>
    static std::string unformatted(std::string_view format, const ARGS&... args)
    {
        std::string line(format);
        try
        {
            ((line += fmt::format(" {}", args)), ...);
        }
        catch (const std::exception&)
        {
            line += " (an argument can't be shown)";
        }
        return line;
    }

    enum class SEVERITY
    {
        error,
        info,
        debug
    };

    void write_plain(SEVERITY severity, std::string_view text);
    void write(SEVERITY severity, std::string text);

    std::string m_path;
    std::atomic<int> m_level; ///< set on the main thread, read by every thread that logs
    std::shared_ptr<spdlog::sinks::sink> m_sink;
};
