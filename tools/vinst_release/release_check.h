#pragma once

#include "tools/vinst_release/release_files.h"

#include <QString>
#include <QStringList>

#include <cstddef>

struct RELEASE_CHECK_RESULT
{
    QStringList faults; ///< one line each, beginning with the element; in the manifest's order
    std::size_t components = 0;
    std::size_t files_read = 0; ///< files in the directory that were hashed
};

/// Loads a manifest with the program's own parser and reports all faults in it. If the parser
/// rejects the manifest because of some elements, the others are checked nevertheless.
///
/// \param dir  the directory of the release's files; empty to check only the manifest
RELEASE_CHECK_RESULT check_release(const QString& manifest, const QString& dir,
                                   const RELEASE_FILE_OBSERVER& observer);
