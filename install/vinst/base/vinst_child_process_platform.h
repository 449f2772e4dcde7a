#pragma once

// Internal to vinst_child_process: for Linux before 5.11.

/// Marks all descriptors but the standard streams to be closed when a program is executed.
/// Allocates nothing, so that it may be called after fork. \return false if they can't be listed
[[nodiscard]] bool close_listed_descriptors_at_exec();
