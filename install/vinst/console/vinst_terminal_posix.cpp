#include "install/vinst/console/vinst_terminal.h"

#include <unistd.h>

bool stdout_is_terminal()
{
    return ::isatty(STDOUT_FILENO) != 0;
}
