#pragma once

#include "tools/vinst_release/release_description.h"
#include "tools/vinst_release/release_files.h"

#include <QByteArray>
#include <QHash>

/// The manifest of a release, as the program reads it.
///
/// \param sums      of each component's file, by file name
/// \param test_md5  of the connection test's file, which is below the download URL unless the
///                  description gives another one
QByteArray manifest_text(const RELEASE_DESCRIPTION& release,
                         const QHash<QString, RELEASE_FILE_SUMS>& sums, const QByteArray& test_md5);
