#pragma once

#include "tools/vinst_release/release_element.h"

/// Tells what the program would load but stumble over, or what its author can't have meant: values
/// of the wrong type, unknown words, broken relations, names and files that clash, malformed sums.
void check_elements(const std::vector<RELEASE_ELEMENT>& elements, RELEASE_FAULTS& faults);
