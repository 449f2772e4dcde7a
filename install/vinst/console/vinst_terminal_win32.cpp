#include "install/vinst/console/vinst_terminal.h"

#include <QChar>

#include <windows.h>

namespace
{

bool is_combining(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
           category == QChar::Other_Format;
}

bool is_half_width(char32_t character)
{
    WORD type = 0;
    const auto unit = static_cast<wchar_t>(character);
    return character < 0x10000 && ::GetStringTypeW(CT_CTYPE3, &unit, 1, &type) != FALSE &&
           (type & C3_HALFWIDTH) != 0;
}

bool is_full_width(char32_t character)
{
    WORD type = 0;
    const auto unit = static_cast<wchar_t>(character);
    return character < 0x10000 && ::GetStringTypeW(CT_CTYPE3, &unit, 1, &type) != FALSE &&
           (type & (C3_FULLWIDTH | C3_IDEOGRAPH)) != 0;
}

bool is_of_wide_script(char32_t character)
{
    switch (QChar::script(character))
    {
    case QChar::Script_Han:
    case QChar::Script_Hangul:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Bopomofo:
        return true;
    default:
        // Pictographs; the system's own query is limited to 16 bits.
        return character >= 0x10000 && QChar::category(character) == QChar::Symbol_Other;
    }
}

}

bool stdout_is_terminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}

VINST_TERMINAL_SIZE terminal_size()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info) == FALSE)
        return {};
    // The window, not the buffer, which may be much higher.
    const VINST_TERMINAL_SIZE size{info.srWindow.Bottom - info.srWindow.Top + 1,
                                   info.srWindow.Right - info.srWindow.Left + 1};
    return size.rows > 0 && size.columns > 0 ? size : VINST_TERMINAL_SIZE{};
}

int cell_width(char32_t character)
{
    if (is_combining(character))
        return 0;
    const bool is_wide =
        is_full_width(character) || (is_of_wide_script(character) && !is_half_width(character));
    return is_wide ? 2 : 1;
}
