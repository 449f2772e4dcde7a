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

/// A log file. Lines are formatted printf-style but by the types of their arguments, and flushed
/// one by one, since somebody may be reading along. Thread-safe but for opening and closing. While
/// it is closed, lines go nowhere.
class CURL_LOGGER
{
public:
    static constexpr int info_level = 4;
    static constexpr int debug_level = 5;

    CURL_LOGGER(std::string path, int level);
    ~CURL_LOGGER();
    CURL_LOGGER(const CURL_LOGGER&) = delete;
    CURL_LOGGER& operator=(const CURL_LOGGER&) = delete;

    /// Creates the file, readable by its owner alone. \return false when it exists or can't be made
    bool open();
    void close();

    /// 4: errors and information. 5: debug lines too.
    void set_log_level(int level) { m_level = level; }
    bool logs_debug() const { return m_level >= debug_level; }

    template <typename... ARGS>
    void info(std::string_view format, const ARGS&... args)
    {
        write(SEVERITY::info, formatted(format, args...));
    }
    template <typename... ARGS>
    void error(std::string_view format, const ARGS&... args)
    {
        write(SEVERITY::error, formatted(format, args...));
    }
    template <typename... ARGS>
    void debug(std::string_view format, const ARGS&... args)
    {
        if (logs_debug())
            write(SEVERITY::debug, formatted(format, args...));
    }

    /// An information line that begins with `start` and goes on with the content of a file. A long
    /// content is logged in several lines, cut at its own line ends, so that memory stays bounded.
    void info_with_file(std::string_view start, const std::string& content_path);

    /// printf-style formatting that never fails: a format that does not fit its arguments is taken
    /// as it stands, with the arguments behind it. Without arguments no character is special.
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

    void write(SEVERITY severity, std::string text);

    std::string m_path;
    std::atomic<int> m_level; ///< set on the main thread, read by every thread that logs
    std::shared_ptr<spdlog::sinks::sink> m_sink;
};
