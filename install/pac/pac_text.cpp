#include "install/pac/pac_text.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <string_view>
#include <vector>

namespace
{

enum class SPAN_KIND
{
    code,
    text, ///< content of a string literal
    skipped
};

struct SPAN
{
    SPAN_KIND kind;
    std::size_t begin;
    std::size_t end;
};

bool is_word(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$';
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_line_end(char c)
{
    return c == '\n' || c == '\r';
}

/// Splits a script into code, strings, and the rest: comments and regular expressions.
class SPANS
{
public:
    explicit SPANS(std::string_view script) : m_script(script)
    {
        while (m_at < m_script.size())
            step();
        close_code();
    }

    const std::vector<SPAN>& all() const { return m_spans; }

private:
    void step()
    {
        const char c = m_script[m_at];
        const char next = m_at + 1 < m_script.size() ? m_script[m_at + 1] : '\0';
        if (c == '"' || c == '\'' || c == '`')
            take_string(c);
        else if (c == '/' && next == '/')
            take_skipped(m_script.find_first_of("\r\n", m_at));
        else if (c == '/' && next == '*')
            take_skipped(behind("*/", m_at + 2));
        else if (c == '/' && begins_expression())
            take_regular_expression();
        else
            ++m_at;
    }

    void close_code()
    {
        if (m_at > m_code_begin)
            m_spans.push_back({SPAN_KIND::code, m_code_begin, m_at});
    }

    void take_skipped(std::size_t end)
    {
        close_code();
        m_at = std::min(end, m_script.size());
        m_code_begin = m_at;
    }

    void take_string(char quote)
    {
        close_code();
        const std::size_t begin = ++m_at;
        while (m_at < m_script.size() && m_script[m_at] != quote &&
               (quote == '`' || !is_line_end(m_script[m_at])))
            m_at += m_script[m_at] == '\\' ? 2 : 1;
        const std::size_t end = std::min(m_at, m_script.size());
        m_spans.push_back({SPAN_KIND::text, begin, end});
        m_at = std::min(end + 1, m_script.size());
        m_code_begin = m_at;
        m_after_string = m_at;
    }

    void take_regular_expression()
    {
        std::size_t at = m_at + 1;
        for (bool in_class = false; at < m_script.size() && !is_line_end(m_script[at]); ++at)
        {
            const char c = m_script[at];
            if (c == '\\')
                ++at;
            else if (c == '[')
                in_class = true;
            else if (c == ']')
                in_class = false;
            else if (c == '/' && !in_class)
                break;
        }
        take_skipped(at + 1);
    }

    /// Whether a slash here begins a regular expression. After a value it is a division.
    bool begins_expression() const
    {
        std::size_t before = m_at;
        while (before > m_code_begin &&
               std::isspace(static_cast<unsigned char>(m_script[before - 1])) != 0)
            --before;
        if (before == m_code_begin)
            return m_code_begin != m_after_string;
        const char c = m_script[before - 1];
        if (!is_word(c))
            return c != ')' && c != ']' && c != '}';
        std::size_t word = before;
        while (word > m_code_begin && is_word(m_script[word - 1]))
            --word;
        const std::string_view name = m_script.substr(word, before - word);
        return name == "return" || name == "typeof" || name == "case" || name == "in";
    }

    std::size_t behind(std::string_view mark, std::size_t from) const
    {
        const std::size_t found = m_script.find(mark, from);
        return found == std::string_view::npos ? found : found + mark.size();
    }

    std::string_view m_script;
    std::vector<SPAN> m_spans;
    std::size_t m_at = 0;
    std::size_t m_code_begin = 0;
    std::size_t m_after_string = std::string_view::npos;
};

/// Appends code without the leading zeros of decimal integers. \return whether there were any
bool append_without_padding(std::string& result, std::string_view code)
{
    bool changed = false;
    for (std::size_t at = 0; at < code.size();)
    {
        const bool starts_number =
            is_digit(code[at]) && (at == 0 || (!is_word(code[at - 1]) && code[at - 1] != '.'));
        if (!starts_number)
        {
            result += code[at++];
            continue;
        }
        std::size_t end = at;
        while (end < code.size() && (is_word(code[end]) || code[end] == '.'))
            ++end;
        const std::string_view number = code.substr(at, end - at);
        const bool is_whole = number.find_first_not_of("0123456789") == std::string_view::npos;
        std::size_t zeros = 0;
        while (is_whole && zeros + 1 < number.size() && number[zeros] == '0')
            ++zeros;
        changed = changed || zeros > 0;
        result += number.substr(zeros);
        at = end;
    }
    return changed;
}

const std::regex& proxy_entry()
{
    static const std::regex expression(R"((^|[\s;])PROXY\s+(\[[0-9a-f:.]+\]|[a-z0-9._-]+):\d+)",
                                       std::regex::icase | std::regex::optimize);
    return expression;
}

/// Limits the input because directives are short and std::regex recurses with the length of the
/// text.
constexpr std::size_t longest_directive = 4096; // bytes

bool holds_proxy(const std::string& text)
{
    return text.size() <= longest_directive && std::regex_search(text, proxy_entry());
}

constexpr std::string_view blanks = " \t\n\v\f\r";

std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

bool is_direct(std::string_view entry)
{
    constexpr std::string_view direct = "DIRECT";
    return std::equal(entry.begin(), entry.end(), direct.begin(), direct.end(),
                      [](char c, char expected)
                      { return std::toupper(static_cast<unsigned char>(c)) == expected; });
}

bool is_host_name(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) {
                           return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' ||
                                  c == '-' || c == '_';
                       });
}

bool is_ip_literal(std::string_view text)
{
    return text.size() > 2 && text.front() == '[' && text.back() == ']' &&
           text.substr(1, text.size() - 2).find_first_not_of("0123456789abcdefABCDEF:.") ==
               std::string_view::npos;
}

bool is_host_with_port(std::string_view text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0)
        return false;
    const std::string_view host = text.substr(0, colon);
    const std::string_view port = text.substr(colon + 1);
    return !port.empty() && std::all_of(port.begin(), port.end(), is_digit) &&
           (is_host_name(host) || is_ip_literal(host));
}

/// Whether an entry of a directive is "DIRECT", or a kind of proxy followed by a host and a port.
bool is_entry(std::string_view entry)
{
    if (is_direct(entry))
        return true;
    const std::size_t blank = std::min(entry.find_first_of(blanks), entry.size());
    const std::string_view kind = entry.substr(0, blank);
    const bool is_kind =
        !kind.empty() &&
        std::all_of(kind.begin(), kind.end(),
                    [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
    return is_kind && is_host_with_port(trimmed(entry.substr(blank)));
}

/// Whether the line consists of entries. All but the first may be empty.
///
/// Not a regular expression: std::regex would try every way to divide a run of blanks between
/// adjacent parts of the expression, which takes exponential time.
bool is_directive(const std::string& line)
{
    if (!holds_proxy(line))
        return false;
    for (std::size_t begin = 0; begin <= line.size();)
    {
        const std::size_t end = std::min(line.find(';', begin), line.size());
        const std::string_view entry = trimmed(std::string_view(line).substr(begin, end - begin));
        const bool may_be_empty = begin > 0;
        if (!is_entry(entry) && !(may_be_empty && entry.empty()))
            return false;
        begin = end + 1;
    }
    return true;
}

}

std::optional<std::string> without_padded_numbers(const std::string& script)
{
    const SPANS spans(script);
    std::string result;
    bool changed = false;
    std::size_t copied = 0;
    for (const SPAN& span : spans.all())
    {
        if (span.kind != SPAN_KIND::code)
            continue;
        result.append(script, copied, span.begin - copied);
        if (append_without_padding(
                result, std::string_view(script).substr(span.begin, span.end - span.begin)))
            changed = true;
        copied = span.end;
    }
    result.append(script, copied, std::string::npos);
    return changed ? std::optional(result) : std::nullopt;
}

std::optional<std::string> directive_in_text(const std::string& script)
{
    const SPANS spans(script);
    for (const SPAN& span : spans.all())
    {
        const std::string text = script.substr(span.begin, span.end - span.begin);
        if (span.kind == SPAN_KIND::text && holds_proxy(text))
            return text;
    }
    for (std::size_t begin = 0; begin < script.size();)
    {
        const std::size_t end = std::min(script.find_first_of("\r\n", begin), script.size());
        if (const std::string line = script.substr(begin, end - begin); is_directive(line))
            return line;
        begin = end + 1;
    }
    return std::nullopt;
}
