#pragma once

#include "install/vinst/release/vinst_data_components.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

/// What an installation did for one component or after-install action.
struct VINST_COMPONENT_INSTALLATION
{
    const VINST_COMPONENT* component;
    std::optional<int> exit_code = {}; ///< of its own command; empty if none was run
    bool is_installed = false;         ///< by itself or by another component's installer
    QString error = {}; ///< why it isn't. Plain text that may contain text from the manifest
};

class VINST_DOWNLOADER_VIEW;

/// How an installation ended.
struct VINST_INSTALL_OUTCOME
{
    enum class RESULT
    {
        installed,          ///< at least one installer ran, and all that ran succeeded
        nothing_to_install, ///< no component had an installer to run
        failed,             ///< an installer or action failed, or a verified file has changed
        stopped
    };

    RESULT result;
    /// A line for each component that had no installer to run and was not installed by another
    /// component's installer either: "NAME was not installed: ...". Plain text that contains text
    /// from the manifest.
    QStringList not_installed;
    /// Why there was nothing to install, without a full stop, or what failed and how, in one or
    /// more lines; otherwise empty. Plain text that contains text from the manifest and from
    /// installers.
    QString reason;
    bool needs_restart = false; ///< an installer is complete only after a restart of the computer
    /// All components of the installation, then the actions that were run.
    std::vector<VINST_COMPONENT_INSTALLATION> details = {};
};

/// The lines above the verdict: what was not installed, and whether a restart is needed.
QStringList install_remarks(const VINST_INSTALL_OUTCOME& outcome);

/// The line that ends an installation. Contains no text from the manifest.
QString install_verdict(const VINST_INSTALL_OUTCOME& outcome);

/// Runs the installers of the components in their order, then the after-install actions of the
/// host's platform that are not skipped. The first failure ends it. A file that seems to have
/// changed since it was verified is hashed again before its installer is run.
///
/// Actions of a component that was not installed are skipped. When no installer ran, all actions
/// are skipped, because their programs would be missing.
///
/// Blocks, but processes the caller's events. Runs on the thread of the release.
///
/// \param components  verified; the main product's installer reads the files of all of them
/// \param view        is shown each installer, its output and its end
/// \param is_to_stop  called before each step, and several times per second while an installer runs
[[nodiscard]] VINST_INSTALL_OUTCOME run_installation(const VINST_RELEASE& release,
                                                     const VINST_COMPONENT_LIST& components,
                                                     VINST_DOWNLOADER_VIEW& view,
                                                     const std::function<bool()>& is_to_stop);
