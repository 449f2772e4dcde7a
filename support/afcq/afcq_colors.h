#pragma once

#include <QPalette>

/// Whether text is lighter than its background.
bool afcq_is_dark(const QPalette& palette);

/// The contrast ratio of the Web Content Accessibility Guidelines: from 1 for equal luminance to 21
/// for black on white.
double afcq_contrast(const QColor& one, const QColor& other);

/// What text of normal size needs at least.
inline constexpr double afcq_readable_contrast = 4.5;

/// The colours of a window's primary button.
struct AFCQ_ACCENT
{
    QColor ground;
    QColor text;
};
AFCQ_ACCENT afcq_accent(const QPalette& palette);

/// The grey that is nearest to a window's lightness and on which a text has that contrast; black or
/// white, whichever has more, if no grey reaches it.
QColor afcq_readable_ground(const QColor& text, const QColor& window,
                            double ratio = afcq_readable_contrast);
