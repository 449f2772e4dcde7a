#pragma once

#include "tools/vinst_release/release_files.h"

#include <QString>
#include <QStringList>

#include <cstddef>

struct RELEASE_CHECK_RESULT
{
    QStringList faults; ///< a line each, which begins with the element; in the manifest's order
    std::size_t components = 0;
    std::size_t files_read = 0; ///< files of the directory whose sums were measured
};

/// Loads a manifest with the program's own parser and looks for everything that is wrong with it.
/// Where the parser would refuse the manifest for some elements, the others are checked all the
/// same.
///
/// \param dir  where the release's files lie; empty when only the manifest is checked
RELEASE_CHECK_RESULT check_release(const QString& manifest, const QString& dir,
                                   const RELEASE_FILE_OBSERVER& observer);
