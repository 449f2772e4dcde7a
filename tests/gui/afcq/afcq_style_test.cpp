#include "support/afcq/afcq_style.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>
#include <cmath>
#include <memory>

namespace
{

QPalette palette_of(const QColor& window, const QColor& base, const QColor& text)
{
    QPalette palette(window, window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

const QPalette dark = palette_of({53, 53, 53}, {35, 35, 35}, Qt::white);
const QPalette light = palette_of({239, 239, 239}, Qt::white, Qt::black);

/// Relative luminance as defined by the Web Content Accessibility Guidelines: 0 is black, 1 is
/// white.
double luminance(const QColor& color)
{
    const auto linear = [](double part)
    { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// Contrast ratio: 1 for equal luminance, 21 for black on white; parts of controls require 3.
double contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

constexpr int side = 30;

/// An unchecked indicator in the middle of a background.
QImage indicator(QStyle::PrimitiveElement element, const QPalette& palette, const QColor& ground,
                 const QStyle& style)
{
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    QStyleOptionButton button;
    QStyleOptionViewItem item;
    const bool is_item = element == QStyle::PE_IndicatorItemViewItemCheck;
    QStyleOption& option = is_item ? static_cast<QStyleOption&>(item) : button;
    option.palette = palette;
    option.rect = QRect(8, 8, 14, 14);
    option.state = QStyle::State_Enabled | QStyle::State_Off;
    style.drawPrimitive(element, &option, &painter);
    return image;
}

/// The highest contrast between indicator and background in the middle row.
double edge_contrast(const QImage& image, const QColor& ground)
{
    double strongest = 1;
    for (int x = 0; x < side / 2; ++x)
        strongest = std::max(strongest, contrast(image.pixelColor(x, side / 2), ground));
    return strongest;
}

class Indicator : public ::testing::TestWithParam<QStyle::PrimitiveElement>
{
protected:
    const AFCQ_STYLE style;
};

}

TEST_P(Indicator, HasAVisibleOutlineInADarkPalette)
{
    for (const QPalette::ColorRole ground : {QPalette::Base, QPalette::Window})
    {
        const QColor color = dark.color(ground);
        EXPECT_GE(edge_contrast(indicator(GetParam(), dark, color, style), color), 3.0);
    }
}

TEST_P(Indicator, IsDrawnByFusionInALightPalette)
{
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
    EXPECT_EQ(indicator(GetParam(), light, Qt::white, style),
              indicator(GetParam(), light, Qt::white, *fusion));
}

INSTANTIATE_TEST_SUITE_P(AfcqStyle, Indicator,
                         ::testing::Values(QStyle::PE_IndicatorCheckBox,
                                           QStyle::PE_IndicatorItemViewItemCheck,
                                           QStyle::PE_IndicatorRadioButton));

TEST(AfcqStyle, DetectsDarkPalettes)
{
    EXPECT_TRUE(afcq_is_dark(dark));
    EXPECT_FALSE(afcq_is_dark(light));
}

TEST(AfcqStyle, IsFusionByName)
{
    EXPECT_EQ(AFCQ_STYLE().objectName(), "fusion");
    EXPECT_EQ(AFCQ_STYLE().baseStyle()->objectName(), "fusion");
}
