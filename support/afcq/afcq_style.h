#pragma once

#include <QPalette>
#include <QProxyStyle>

/// Whether text is lighter than what it stands on.
bool afcq_is_dark(const QPalette& palette);

/// Fusion, with boxes and radio buttons that keep an edge to be seen by in dark palettes: Fusion
/// draws it darker than the window, which tells an empty box of a tree from nothing there.
class AFCQ_STYLE final : public QProxyStyle
{
    Q_OBJECT

public:
    AFCQ_STYLE();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};
