#include "install/vinst/console/vinst_terminal.h"

#include <windows.h>

bool stdout_is_terminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}
