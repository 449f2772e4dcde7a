#pragma once

#include <cstddef>

/// Which system calls a process may still make. All others fail with ENOSYS, as on a system that
/// doesn't have them, so that a newer C library uses an older call instead.
enum class PAC_FILTER
{
    evaluation, ///< memory, time, files that are open already
    look_ups    ///< also what name look-ups need: reading files, sockets, processes
};

/// Applies the filter to this thread and to whatever it starts, for good.
[[nodiscard]] bool apply_filter(PAC_FILTER filter);

/// How many system calls the filter allows.
std::size_t allowed_calls(PAC_FILTER filter);
