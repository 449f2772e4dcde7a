#pragma once

#include "install/vinst/release/vinst_data.h"

#include <QString>

/// The main product's name in every manifest.
inline const QString main_product_name = QStringLiteral("veltrin_base");

/// Whether the component's file is there, whole or not.
bool has_local_file(const VINST_COMPONENT& component);

/// Whether the local file is still the very one that the last check which passed has read.
bool has_verified_file(const VINST_COMPONENT& component);

/// Makes a verified ".run" file executable by its owner alone; other files keep their mode.
void make_installer_executable(const VINST_COMPONENT& component);

/// The command line of a component's installer; empty when nothing is to be run for it: a file is
/// missing, or the main product's installer takes care of it.
///
/// \param main_product  the name of the main product component
/// \param unattended    whether the installer runs without asking; the device installer always does
/// \param platform      the host's: "linux" or "windows"
QString build_install_command(VINST_COMPONENT& component, const QString& main_product,
                              bool unattended, const QString& platform);

/// What an after-install action belongs to: its parent, else the platform's main product; null when
/// there is none.
const VINST_COMPONENT* owner_of_action(const VINST_COMPONENT& action, const QString& platform);

/// The command line of an after-install action, in the install directory; empty when there is
/// nothing to run: it has no program, the user skips it, or what it belongs to isn't chosen.
QString build_action_command(const VINST_COMPONENT& action, const QString& platform);
