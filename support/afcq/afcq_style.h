#pragma once

#include <QProxyStyle>

/// The name of the property that makes a push button the primary one of its window.
inline constexpr const char* afcq_primary_property = "afcq_primary";

/// Fusion, with visible outlines of check boxes and radio buttons in dark palettes. Fusion draws
/// them darker than the window, which makes an unchecked box in a tree invisible. Push buttons are
/// flat; a primary one has the accent colour while it is enabled. Progress bars are flat, too.
/// Message boxes have the suite's icons, and none on their buttons.
class AFCQ_STYLE final : public QProxyStyle
{
    Q_OBJECT

public:
    AFCQ_STYLE();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option = nullptr,
                       const QWidget* widget = nullptr) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                           const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr, QStyleHintReturn* data = nullptr) const override;
};
