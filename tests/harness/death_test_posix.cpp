#include "tests/harness/death_test.h"

#include <csignal>
#include <unistd.h>

bool ended_by_abort(int exit_status)
{
    return ::testing::KilledBySignal(SIGABRT)(exit_status);
}

void send_output_to_errors()
{
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

void end_with(int exit_code)
{
    ::_exit(exit_code);
}
