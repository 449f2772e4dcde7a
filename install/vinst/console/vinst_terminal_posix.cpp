#include "install/vinst/console/vinst_terminal.h"

#include <clocale>
#include <cwchar>
#include <sys/ioctl.h>
#include <unistd.h>

bool stdout_is_terminal()
{
    return ::isatty(STDOUT_FILENO) != 0;
}

VINST_TERMINAL_SIZE terminal_size()
{
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0)
        return {};
    return {size.ws_row, size.ws_col};
}

int cell_width(char32_t character)
{
    // Output is UTF-8 in every locale, but in the user's locale, the C library may know no
    // character beyond ASCII. The locale object is kept until the process ends.
    static const locale_t utf8_locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t previous = ::uselocale(utf8_locale); // 0 would only query it
    const int width = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(previous);
    return width < 0 ? 1 : width;
}
