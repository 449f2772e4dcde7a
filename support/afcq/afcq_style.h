#pragma once

#include <QPalette>
#include <QProxyStyle>

/// Whether text is lighter than its background.
bool afcq_is_dark(const QPalette& palette);

/// Fusion, with visible outlines of check boxes and radio buttons in dark palettes. Fusion draws
/// them darker than the window, which makes an unchecked box in a tree invisible.
class AFCQ_STYLE final : public QProxyStyle
{
    Q_OBJECT

public:
    AFCQ_STYLE();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};
