#pragma once

#include "tools/vinst_release/release_element.h"

/// Loads the manifest with the program's parser and turns what it says into faults of elements.
/// What it says of parents and dependencies is left out: `check_elements` tells the same with more
/// to go by.
///
/// \param elements  of that file; empty when it holds no list of elements
void check_loading(const QString& manifest, const std::vector<RELEASE_ELEMENT>& elements,
                   RELEASE_FAULTS& faults);
