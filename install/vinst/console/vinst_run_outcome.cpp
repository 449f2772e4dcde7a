#include "install/vinst/console/vinst_run_outcome.h"

namespace
{

using OUTCOME = VINST_RUN_OUTCOME;

OUTCOME installation_outcome(const VINST_RUN_FACTS& facts)
{
    switch (*facts.installation)
    {
    case VINST_INSTALL_OUTCOME::RESULT::installed:
        return facts.has_left_out ? OUTCOME::partly_installed : OUTCOME::complete;
    case VINST_INSTALL_OUTCOME::RESULT::nothing_to_install:
        return OUTCOME::nothing_to_install;
    case VINST_INSTALL_OUTCOME::RESULT::stopped:
        return OUTCOME::stopped;
    case VINST_INSTALL_OUTCOME::RESULT::failed:
        break;
    }
    return OUTCOME::installation_failed;
}

}

VINST_RUN_OUTCOME decide_run_outcome(const VINST_RUN_FACTS& facts)
{
    if (facts.was_stopped)
        return OUTCOME::stopped;
    if (facts.was_refused)
        return OUTCOME::refused;
    if (!facts.is_connected)
        return OUTCOME::no_connection;
    if (facts.corrupted_files > 0)
        return OUTCOME::verification_failed;
    if (facts.incomplete_files > 0)
        return OUTCOME::download_incomplete;
    return facts.installation ? installation_outcome(facts) : OUTCOME::complete;
}

int strict_exit_code(VINST_RUN_OUTCOME outcome)
{
    switch (outcome)
    {
    case OUTCOME::complete:
        return 0;
    case OUTCOME::download_incomplete:
        return 3;
    case OUTCOME::verification_failed:
        return 4;
    case OUTCOME::installation_failed:
    case OUTCOME::partly_installed:
        return 5;
    case OUTCOME::nothing_to_install:
        return 6;
    case OUTCOME::no_connection:
        return 7;
    case OUTCOME::refused:
    case OUTCOME::stopped:
        break;
    }
    return 1;
}

bool is_failure(VINST_RUN_OUTCOME outcome)
{
    return outcome != OUTCOME::complete && outcome != OUTCOME::partly_installed &&
           outcome != OUTCOME::stopped;
}
