#pragma once

#include "tools/vinst_release/release_files.h"

#include <QString>
#include <QStringList>

#include <cstddef>

struct RELEASE_MAKE_RESULT
{
    QStringList faults; ///< empty when the release was made
    std::size_t components = 0;
    std::size_t files = 0;
    std::size_t files_copied = 0; ///< the others were already in place
    quint64 bytes = 0;            ///< of all files
};

/// Writes a release to a directory, which is created if necessary: the components' files, the
/// connection test's file and, last, the manifest. After a failure, an earlier manifest is
/// unchanged.
///
/// \param download_url  replaces the one in the description unless empty. An address of this
///                      machine is a fault: a release is tried with the program's `--url`
RELEASE_MAKE_RESULT make_release(const QString& description, const QString& out,
                                 const QString& download_url,
                                 const RELEASE_FILE_OBSERVER& observer);
