#include "install/vinst/console/vinst_run_outcome.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{

using OUTCOME = VINST_RUN_OUTCOME;
using RESULT = VINST_INSTALL_OUTCOME::RESULT;

OUTCOME outcome_of_installation(RESULT result, bool has_left_out = false)
{
    VINST_RUN_FACTS facts;
    facts.installation = result;
    facts.has_left_out = has_left_out;
    return decide_run_outcome(facts);
}

}

TEST(RunOutcome, IsCompleteWithoutAnyFault)
{
    EXPECT_EQ(decide_run_outcome({}), OUTCOME::complete);
    EXPECT_EQ(outcome_of_installation(RESULT::installed), OUTCOME::complete);
}

TEST(RunOutcome, NamesTheFirstStepThatFailed)
{
    VINST_RUN_FACTS facts;
    facts.incomplete_files = 2;
    EXPECT_EQ(decide_run_outcome(facts), OUTCOME::download_incomplete);
    facts.corrupted_files = 1;
    EXPECT_EQ(decide_run_outcome(facts), OUTCOME::verification_failed);
    facts.is_connected = false;
    EXPECT_EQ(decide_run_outcome(facts), OUTCOME::no_connection);
    facts.was_refused = true;
    EXPECT_EQ(decide_run_outcome(facts), OUTCOME::refused);
    facts.was_stopped = true;
    EXPECT_EQ(decide_run_outcome(facts), OUTCOME::stopped);
}

TEST(RunOutcome, FollowsTheInstallation)
{
    EXPECT_EQ(outcome_of_installation(RESULT::failed), OUTCOME::installation_failed);
    EXPECT_EQ(outcome_of_installation(RESULT::nothing_to_install), OUTCOME::nothing_to_install);
    EXPECT_EQ(outcome_of_installation(RESULT::stopped), OUTCOME::stopped);
    EXPECT_EQ(outcome_of_installation(RESULT::installed, true), OUTCOME::partly_installed);
    EXPECT_EQ(outcome_of_installation(RESULT::failed, true), OUTCOME::installation_failed);
    EXPECT_EQ(outcome_of_installation(RESULT::nothing_to_install, true),
              OUTCOME::nothing_to_install);
}

TEST(RunOutcome, HasAnExitCode)
{
    for (const auto& [outcome, code] :
         std::vector<std::pair<OUTCOME, int>>{{OUTCOME::complete, 0},
                                              {OUTCOME::refused, 1},
                                              {OUTCOME::download_incomplete, 3},
                                              {OUTCOME::verification_failed, 4},
                                              {OUTCOME::installation_failed, 5},
                                              {OUTCOME::partly_installed, 5},
                                              {OUTCOME::nothing_to_install, 6},
                                              {OUTCOME::no_connection, 7},
                                              {OUTCOME::stopped, 1}})
        EXPECT_EQ(strict_exit_code(outcome), code) << static_cast<int>(outcome);
}
