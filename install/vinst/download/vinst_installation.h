#pragma once

#include "install/vinst/release/vinst_data_components.h"

#include <functional>

/// How an installation ended.
struct VINST_INSTALL_OUTCOME
{
    enum class RESULT
    {
        installed,
        failed, ///< an installer or an action failed, or a file has changed since its check
        stopped
    };

    RESULT result;
};

/// Runs the installers of the components in their order, then the after-install actions of the
/// host's platform that are not skipped. The first failure ends it. A file that looks different
/// from the one that was verified is hashed again before its installer is run.
///
/// Blocks with the caller's event loop alive, and runs on the thread of the release.
///
/// \param components  verified; the main product's installer reads the files of all of them
/// \param is_to_stop  asked before each step, and several times a second while an installer runs
[[nodiscard]] VINST_INSTALL_OUTCOME run_installation(const VINST_RELEASE& release,
                                                     const VINST_COMPONENT_LIST& components,
                                                     const std::function<bool()>& is_to_stop);
