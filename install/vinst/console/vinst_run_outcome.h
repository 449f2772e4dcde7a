#pragma once

#include "install/vinst/download/vinst_installation.h"

#include <optional>

/// How a console run ended.
enum class VINST_RUN_OUTCOME
{
    complete,            ///< all that was requested has been done
    refused,             ///< nothing was started, because of an option or the state of the machine
    no_connection,       ///< the connection test failed
    download_incomplete, ///< a file could not be fetched completely
    verification_failed, ///< a complete file has the wrong checksum
    installation_failed, ///< an installer or an action failed
    partly_installed,    ///< installers succeeded, but a component had none to run
    nothing_to_install,  ///< no installer was run
    stopped              ///< by the user or the system
};

/// What a run knows about its steps. The defaults are those of a run without any fault.
struct VINST_RUN_FACTS
{
    bool was_stopped = false; ///< before all was done
    bool was_refused = false;
    bool is_connected = true;
    int incomplete_files = 0;
    int corrupted_files = 0;
    std::optional<VINST_INSTALL_OUTCOME::RESULT> installation = {}; ///< if one was requested
    bool has_left_out = false; ///< a requested component had no installer to run
};

/// A stop explains everything that follows from it. A wrong checksum counts more than an incomplete
/// file, because running the same command again may not be enough.
[[nodiscard]] VINST_RUN_OUTCOME decide_run_outcome(const VINST_RUN_FACTS& facts);

/// The exit code of the option --strict. A run that was stopped has none, because its process ends
/// by the signal; its value is that of a refused run.
[[nodiscard]] int strict_exit_code(VINST_RUN_OUTCOME outcome);

/// Whether the user is shown where the log is.
[[nodiscard]] bool is_failure(VINST_RUN_OUTCOME outcome);
