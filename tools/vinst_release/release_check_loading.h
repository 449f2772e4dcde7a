#pragma once

#include "tools/vinst_release/release_element.h"

/// Loads the manifest with the program's parser and converts its messages to faults of elements.
/// Messages about parents and dependencies are left out: `check_elements` reports these in more
/// detail.
///
/// \param elements  of that file; empty when the file contains no list of elements
void check_loading(const QString& manifest, const std::vector<RELEASE_ELEMENT>& elements,
                   RELEASE_FAULTS& faults);
