#pragma once

#include <QColor>
#include <QImage>
#include <QPalette>

class QWidget;

// What is seen of a control.

QPalette light_palette();
QPalette dark_palette();

/// The contrast ratio of the Web Content Accessibility Guidelines: 1 for equal luminance, 21 for
/// black on white. Text requires 4.5, parts of controls require 3.
double contrast(const QColor& one, const QColor& other);

/// A picture of a control in the size that it prefers.
QImage picture_of(QWidget& control);

QColor most_frequent_color(const QImage& image);
bool has_color(const QImage& image, const QColor& color);
