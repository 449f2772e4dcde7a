#pragma once

#include "install/vinst/console/vinst_run_record.h"

struct VINST_OPTIONS;

/// The complete unattended job: pre-checks, connection test, summary, download with retries,
/// integrity checks and, when requested, installation. All results and failures are reported on
/// standard output and in the log.
///
/// \param is_admin  whether the process has the rights to install
[[nodiscard]] VINST_RUN_RECORD run_console(VINST_OPTIONS& options, bool is_admin);
