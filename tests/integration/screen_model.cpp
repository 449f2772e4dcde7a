#include "tests/integration/screen_model.h"

#include <algorithm>
#include <stdexcept>

std::string& SCREEN_MODEL::line()
{
    if (m_row >= m_lines.size())
        m_lines.resize(m_row + 1);
    return m_lines[m_row];
}

std::size_t SCREEN_MODEL::escape(std::string_view text)
{
    const std::size_t end = text.find_first_of("ABCDHJK", 2);
    if (text.substr(0, 2) != "\x1b[" || end == std::string_view::npos)
        throw std::runtime_error("an escape sequence that the program doesn't use");
    const std::string parameter(text.substr(2, end - 2));
    const std::size_t count = parameter.empty() ? 1 : std::stoul(parameter);
    switch (text[end])
    {
    case 'A':
        if (count > m_row)
            throw std::runtime_error("the cursor moved above the top of the screen");
        m_row -= count;
        break;
    case 'K':
        line().clear();
        break;
    case 'J':
        line().resize(std::min(m_column, line().size()));
        m_lines.resize(m_row + 1);
        break;
    default:
        throw std::runtime_error("an escape sequence that the program doesn't use");
    }
    return end + 1;
}

void SCREEN_MODEL::write(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();)
    {
        const char c = text[i];
        if (c == '\x1b')
        {
            i += escape(text.substr(i));
            continue;
        }
        ++i;
        if (c == '\r')
            m_column = 0;
        else if (c == '\n')
        {
            ++m_row;
            m_column = 0;
            line();
        }
        else
        {
            std::string& current = line();
            current.resize(std::max(current.size(), m_column + 1), ' ');
            current[m_column++] = c;
        }
    }
}

std::vector<std::string> SCREEN_MODEL::from(std::string_view start) const
{
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(),
                                   [start](const std::string& candidate)
                                   { return candidate.compare(0, start.size(), start) == 0; });
    if (last == m_lines.rend())
        return {};
    std::vector<std::string> result(last.base() - 1, m_lines.end());
    while (!result.empty() && result.back().find_first_not_of(' ') == std::string::npos)
        result.pop_back();
    for (std::string& each : result)
        each.erase(each.find_last_not_of(' ') + 1);
    return result;
}
