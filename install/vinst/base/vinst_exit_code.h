#pragma once

#include <QString>

/// What the exit code of an installer means.
struct VINST_EXIT_MEANING
{
    bool succeeded;
    bool needs_restart; ///< the installation is complete only after a restart of the computer
    QString cause;      ///< why it counts as failed, a sentence without a full stop; else empty
};

/// On Windows, the codes of the Windows Installer, which other installers use as well. Elsewhere
/// only 0 means success.
///
/// \param platform  as in host_platform()
VINST_EXIT_MEANING meaning_of_exit_code(int code, const QString& platform);
