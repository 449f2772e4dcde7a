#include "tests/harness/screen_model.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace
{

/// The length of a UTF-8 sequence, from its first byte.
std::size_t sequence_length(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0x80 ? 1 : byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
}

bool is_combining(const std::string& character)
{
    return character >= "\u0300" && character <= "\u036f";
}

bool is_wide(const std::string& character)
{
    return character >= "\u4e00" && character <= "\u9fff";
}

}

SCREEN_MODEL::ROW& SCREEN_MODEL::row()
{
    if (m_row >= m_rows.size())
        m_rows.resize(m_row + 1);
    return m_rows[m_row];
}

void SCREEN_MODEL::move_up(std::size_t count)
{
    if (!is_limited() && count > m_row)
        throw std::runtime_error("the cursor moved above the top of the screen");
    m_row -= std::min(count, m_row - m_top);
}

void SCREEN_MODEL::erase_below()
{
    if (is_limited() && m_row == m_top && m_column == 0)
    {
        m_top = m_rows.size();
        m_row = m_top;
        row();
        return;
    }
    ROW& current = row();
    current.cells.resize(std::min(m_column, current.cells.size()));
    current.is_wrapped = false;
    m_rows.resize(m_row + 1);
}

std::size_t SCREEN_MODEL::escape(std::string_view text)
{
    const std::size_t end = text.find_first_not_of("0123456789;", 2);
    if (text.substr(0, 2) != "\x1b[" || end == std::string_view::npos)
        throw std::runtime_error("an escape sequence that the program doesn't use");
    const std::string parameter(text.substr(2, end - 2));
    if (text[end] == 'A')
        move_up(parameter.empty() ? 1 : std::stoul(parameter));
    else if (text[end] == 'K' && parameter == "2")
        row().cells.clear();
    else if (text[end] == 'J' && parameter.empty())
        erase_below();
    else
        throw std::runtime_error("an escape sequence that the program doesn't use");
    return end + 1;
}

void SCREEN_MODEL::line_feed()
{
    ++m_row;
    row();
    if (is_limited() && m_row >= m_top + m_height)
        ++m_top;
}

void SCREEN_MODEL::put(const std::string& character)
{
    const std::size_t width = is_wide(character) ? 2 : 1;
    if (is_combining(character) && m_column > 0)
    {
        row().cells[m_column - 1] += character;
        return;
    }
    if (is_limited() && m_column + width > m_width)
    {
        row().is_wrapped = true;
        line_feed();
        m_column = 0;
    }
    ROW& current = row();
    current.cells.resize(std::max(current.cells.size(), m_column + width), " ");
    current.cells[m_column] = character;
    if (width == 2)
        current.cells[m_column + 1].clear();
    m_column += width;
}

/// Whether more of the sequence may follow in a later text.
bool SCREEN_MODEL::is_unfinished(std::string_view escape)
{
    return escape.find_first_not_of("0123456789;", 2) == std::string_view::npos &&
           escape.substr(0, 2) == std::string_view("\x1b[").substr(0, escape.size());
}

void SCREEN_MODEL::write(std::string_view new_text)
{
    const std::string text = std::exchange(m_unfinished, {}) + std::string(new_text);
    for (std::size_t i = 0; i < text.size();)
    {
        if (text[i] == '\x1b' && is_unfinished(std::string_view(text).substr(i)))
        {
            m_unfinished = text.substr(i);
            return;
        }
        if (text[i] == '\x1b')
        {
            i += escape(std::string_view(text).substr(i));
            continue;
        }
        const std::size_t length = sequence_length(text[i]);
        if (text[i] == '\r')
            m_column = 0;
        else if (text[i] == '\n')
        {
            row().is_wrapped = false;
            line_feed();
            m_column = 0;
        }
        else
            put(std::string(text.substr(i, length)));
        i += length;
    }
}

void SCREEN_MODEL::reflow(std::size_t columns)
{
    const std::vector<ROW> old = std::move(m_rows);
    const std::size_t old_row = m_row;
    m_rows.clear();
    m_width = columns;
    bool continues = false;
    for (std::size_t i = 0; i < old.size(); ++i)
    {
        if (!continues || old[i].cells.empty())
            m_rows.emplace_back();
        for (std::size_t cell = 0; cell < old[i].cells.size(); ++cell)
        {
            const bool wide = cell + 1 < old[i].cells.size() && old[i].cells[cell + 1].empty();
            if (m_rows.back().cells.size() + (wide ? 2 : 1) > columns)
            {
                m_rows.back().is_wrapped = true;
                m_rows.emplace_back();
            }
            m_rows.back().cells.push_back(old[i].cells[cell]);
            if (wide)
                m_rows.back().cells.push_back(old[i].cells[++cell]);
        }
        continues = old[i].is_wrapped;
        if (i == old_row)
            m_row = m_rows.size() - 1;
    }
    m_column = std::min(m_column, columns);
}

void SCREEN_MODEL::drop_unused_rows()
{
    while (m_rows.size() > m_row + 1 && m_rows.back().cells.empty())
        m_rows.pop_back();
}

void SCREEN_MODEL::resize(std::size_t rows, std::size_t columns)
{
    // As tmux does it: the height first, where unused rows below are dropped before rows are moved
    // to the scrollback.
    drop_unused_rows();
    std::size_t unused = m_top + m_height - std::min(m_top + m_height, m_rows.size());
    if (rows < m_height)
        unused -= std::min(unused, m_height - rows);
    else
        unused += rows - m_height - std::min(m_top, rows - m_height);
    m_height = rows;
    reflow(columns);
    const std::size_t used_and_unused = m_rows.size() + unused;
    m_top = used_and_unused - std::min(used_and_unused, rows);
}

std::string SCREEN_MODEL::text_of(const ROW& row)
{
    std::string text;
    for (const std::string& cell : row.cells)
        text += cell;
    return text.erase(text.find_last_not_of(' ') + 1);
}

std::vector<std::string> SCREEN_MODEL::lines() const
{
    std::vector<std::string> result;
    std::transform(m_rows.begin(), m_rows.end(), std::back_inserter(result), text_of);
    while (result.size() > m_row + 1 && result.back().empty())
        result.pop_back();
    return result;
}

std::vector<std::string> SCREEN_MODEL::screen() const
{
    const std::vector<std::string> all = lines();
    return {all.begin() + static_cast<std::ptrdiff_t>(m_top), all.end()};
}

std::vector<std::string> SCREEN_MODEL::scrollback() const
{
    const std::vector<std::string> all = lines();
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(m_top)};
}

std::vector<std::string> SCREEN_MODEL::from(std::string_view start) const
{
    const std::vector<std::string> all = lines();
    const auto last = std::find_if(all.rbegin(), all.rend(),
                                   [start](const std::string& candidate)
                                   { return candidate.compare(0, start.size(), start) == 0; });
    if (last == all.rend())
        return {};
    std::vector<std::string> result(last.base() - 1, all.end());
    while (!result.empty() && result.back().empty())
        result.pop_back();
    return result;
}

std::size_t SCREEN_MODEL::count(std::string_view text) const
{
    std::size_t result = 0;
    for (const std::string& each : lines())
        for (std::size_t at = each.find(text); at != std::string::npos;
             at = each.find(text, at + text.size()))
            ++result;
    return result;
}
