#pragma once

#include <chrono>

/// What an attempt that left components incomplete has met.
enum class VINST_ATTEMPT_FAULT
{
    passing, ///< more attempts may help
    lasting, ///< a write error or a 404
    final    ///< the proxy has refused the login: another attempt could lock the user's account
};

/// What to do after a download attempt that left components incomplete.
struct VINST_RETRY_DECISION
{
    enum class ACTION
    {
        retry,
        give_up_on_error,
        give_up_on_time
    };

    ACTION action;
    std::chrono::seconds wait; ///< before the next attempt; zero when giving up
};

/// Decides on retries. The wait grows by 5 s per attempt, without a limit. Write errors and 404s
/// are retried twice, since a third try has never helped and costs the user 15 s more.
///
/// \param attempt        the attempt that failed, from 1
/// \param elapsed        since the first attempt began; compared in whole minutes
/// \param limit          the user's retry duration; zero means no retry at all
VINST_RETRY_DECISION decide_retry(int attempt, std::chrono::nanoseconds elapsed,
                                  std::chrono::minutes limit, VINST_ATTEMPT_FAULT fault);
