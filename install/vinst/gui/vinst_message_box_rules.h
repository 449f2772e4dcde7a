#pragma once

#include <QPalette>
#include <QString>

// How a message is divided so that its box fits on every screen, and how its colours stay readable,
// independent of the box.

/// A message that is short enough is one sentence; otherwise the rest is shown in a pane that
/// scrolls.
struct VINST_MESSAGE_PARTS
{
    QString sentence;
    QString details; ///< empty for a short message
};

/// Divides a message with more than 12 lines or a word of more than 120 characters, and one that is
/// longer than 1000 characters: at its first empty line, otherwise after its first line. A single
/// line is shown shortened, and completely in the details.
VINST_MESSAGE_PARTS divided_message(const QString& text);

/// The text with invisible break opportunities in words of more than 60 characters, such as paths.
/// Qt's labels break lines only there and at blanks.
QString with_breaks(const QString& text);

/// In a dark palette, the headlines' fixed colours get a ground on which they can be read.
QString with_readable_headlines(QString markup, const QPalette& palette);
