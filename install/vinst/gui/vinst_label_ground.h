#pragma once

class QColor;
class QLabel;

/// Gives a label in a dark window a ground on which a fixed text colour can be read, and none in a
/// light one, or for an invalid colour. The label is the only child of its parent that has one.
void set_readable_ground(QLabel& label, const QColor& text);
