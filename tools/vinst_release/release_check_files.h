#pragma once

#include "tools/vinst_release/release_element.h"
#include "tools/vinst_release/release_files.h"

/// Compares the files that a manifest names with those of a directory.
/// \return how many files were read
std::size_t check_files(const std::vector<RELEASE_ELEMENT>& elements, const QString& dir,
                        const RELEASE_FILE_OBSERVER& observer, RELEASE_FAULTS& faults);
