#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What a terminal shows after some output in UTF-8. It supports the program's escape sequences
/// (cursor up, erase line, erase below), carriage return and line feed, wide and combining
/// characters. It behaves as the terminals that are the most difficult to draw on:
/// - A resize wraps all lines anew, moves rows into the scrollback, or back from it.
/// - Erasing everything below the first cell moves what is on the screen to the scrollback.
///
/// Without a size, it is unlimited, and moving the cursor above the first line throws.
class SCREEN_MODEL
{
public:
    SCREEN_MODEL() = default;
    SCREEN_MODEL(std::size_t rows, std::size_t columns) : m_height(rows), m_width(columns) {}

    void write(std::string_view text);
    void resize(std::size_t rows, std::size_t columns);

    /// All rows from the top of the scrollback to the cursor's, or to the last one that isn't
    /// empty; without trailing spaces.
    [[nodiscard]] std::vector<std::string> lines() const;
    /// The rows of the screen only, and those of the scrollback only.
    [[nodiscard]] std::vector<std::string> screen() const;
    [[nodiscard]] std::vector<std::string> scrollback() const;
    /// The rows starting at the last one that begins with this text, without trailing empty rows.
    [[nodiscard]] std::vector<std::string> from(std::string_view start) const;
    /// How often the text occurs in all rows.
    [[nodiscard]] std::size_t count(std::string_view text) const;

private:
    struct ROW
    {
        std::vector<std::string> cells; ///< each a character; empty for a wide one's second cell
        bool is_wrapped = false;        ///< the next row continues its line
    };

    [[nodiscard]] bool is_limited() const { return m_height > 0; }
    ROW& row();
    [[nodiscard]] static bool is_unfinished(std::string_view escape);
    std::size_t escape(std::string_view text);
    void move_up(std::size_t count);
    void erase_below();
    void line_feed();
    void put(const std::string& character);
    void drop_unused_rows();
    void reflow(std::size_t columns);
    [[nodiscard]] static std::string text_of(const ROW& row);

    std::size_t m_height = 0; ///< 0: unlimited
    std::size_t m_width = 0;
    std::vector<ROW> m_rows{ROW{}};
    std::size_t m_top = 0; ///< index of the screen's first row; those before are the scrollback
    std::size_t m_row = 0; ///< of the cursor
    std::size_t m_column = 0;
    std::string m_unfinished; ///< the start of an escape sequence
};
