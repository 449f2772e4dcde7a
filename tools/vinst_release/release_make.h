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
    std::size_t files_copied = 0; ///< the others were in place already
    quint64 bytes = 0;            ///< of all files
};

/// Makes a release in a directory, which is created where there is none: the components' files, the
/// connection test's file and, last, the manifest. A failure leaves an earlier manifest as it is.
///
/// \param download_url  takes the place of the description's unless it is empty
RELEASE_MAKE_RESULT make_release(const QString& description, const QString& out,
                                 const QString& download_url,
                                 const RELEASE_FILE_OBSERVER& observer);
