#include "tests/harness/death_test.h"

#include <cstdlib>
#include <io.h>

bool ended_by_abort(int exit_status)
{
    return exit_status == 3; // of the C library's abort
}

void send_output_to_errors()
{
    ::_dup2(2, 1);
}

void end_with(int exit_code)
{
    ::_exit(exit_code);
}
