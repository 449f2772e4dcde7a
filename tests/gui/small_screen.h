#pragma once

#include <QSize>

class QWidget;

/// The room for a window, without its frame, on a screen of 1280x720 pixels at 150 %, which is
/// smaller than one of 1024x600.
inline constexpr QSize small_screen(840, 430);

/// Shrinks a window that is shown to the small screen, and expects that each of its buttons can be
/// reached: it is inside the window, or scrolled into it when it gets the focus.
void expect_fits_small_screen(QWidget& window);
