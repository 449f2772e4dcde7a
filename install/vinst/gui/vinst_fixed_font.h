#pragma once

#include <QString>

/// The family of a font whose characters all have the same width.
QString fixed_width_family();
