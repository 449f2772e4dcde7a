#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

#include <windows.h>

inline constexpr std::chrono::seconds fio_longest_hold{10};

inline bool fio_is_held_by_another(DWORD error)
{
    // Opening a file that is being deleted fails with "access denied" until its last user closes
    // it.
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
}

/// Repeats an operation while another program seems to lock the file.
/// \param operation  returns a system error code, or ERROR_SUCCESS
template <typename OPERATION>
DWORD fio_repeat_while_held(const OPERATION& operation,
                            const std::function<bool()>& is_to_stop = {},
                            std::chrono::seconds at_most = fio_longest_hold)
{
    constexpr std::chrono::milliseconds first_pause{20};
    constexpr std::chrono::milliseconds longest_pause{500};
    const auto deadline = std::chrono::steady_clock::now() + at_most;
    for (auto pause = first_pause;; pause = std::min(pause * 2, longest_pause))
    {
        const DWORD error = operation();
        if (!fio_is_held_by_another(error) || std::chrono::steady_clock::now() + pause > deadline ||
            (is_to_stop && is_to_stop()))
            return error;
        std::this_thread::sleep_for(pause);
    }
}
