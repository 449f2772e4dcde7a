#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What a terminal of unlimited height shows after some output. It supports the program's escape
/// sequences: cursor up, erase line, erase below, carriage return, line feed.
class SCREEN_MODEL
{
public:
    void write(std::string_view text);

    const std::vector<std::string>& lines() const { return m_lines; }
    /// The lines starting at the last one that begins with this text, without trailing empty lines.
    std::vector<std::string> from(std::string_view start) const;

private:
    std::string& line();
    std::size_t escape(std::string_view text);

    std::vector<std::string> m_lines{""};
    std::size_t m_row = 0;
    std::size_t m_column = 0;
};
