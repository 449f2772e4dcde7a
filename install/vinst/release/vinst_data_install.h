#pragma once

#include "install/vinst/release/vinst_data.h"

#include <QString>
#include <QStringList>

/// The command that installs a component, or the reason why there is none.
struct VINST_INSTALL_STEP
{
    QString command;         ///< a command line, or empty
    QString reason_for_none; ///< completes "NAME was not installed: "; empty with a command
    QStringList parts;       ///< names that the command enables in the main product's installer
    /// There is no command yet, because the main product installs the device installer.
    bool awaits_device_installer = false;
};

/// Decides by the files that exist now.
///
/// \param main_product  the name of the main product component
/// \param unattended    whether the installer runs unattended; the device installer always does
/// \param platform      the host's: "linux" or "windows"
VINST_INSTALL_STEP decide_install_step(VINST_COMPONENT& component, const QString& main_product,
                                       bool unattended, const QString& platform);

/// Only the command of the step.
QString build_install_command(VINST_COMPONENT& component, const QString& main_product,
                              bool unattended, const QString& platform);

/// Whether a component without a command was installed by another component's installer.
///
/// \param installed  the names of the components whose installers ran, and the parts that those
///                   enabled
bool is_installed_by_others(const VINST_COMPONENT& component, const QStringList& installed);

/// The component that an after-install action belongs to: its parent, otherwise the platform's main
/// product; null when there is neither.
const VINST_COMPONENT* owner_of_action(const VINST_COMPONENT& action, const QString& platform);

/// The command line of an after-install action, in the install directory; empty when it has no
/// program, the user skips it, or its owner isn't selected.
QString build_action_command(const VINST_COMPONENT& action, const QString& platform);
