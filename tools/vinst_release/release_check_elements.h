#pragma once

#include "tools/vinst_release/release_element.h"

/// Reports faults that the parser accepts: values of the wrong type, unknown keywords, broken
/// relations, conflicting names and files, malformed checksums.
void check_elements(const std::vector<RELEASE_ELEMENT>& elements, RELEASE_FAULTS& faults);
