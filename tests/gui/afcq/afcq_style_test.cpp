#include "support/afcq/afcq_style.h"

#include "support/afcq/afcq_colors.h"
#include "tests/gui/looks.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QPushButton>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>
#include <memory>

namespace
{

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
        const QColor color = dark_palette().color(ground);
        EXPECT_GE(edge_contrast(indicator(GetParam(), dark_palette(), color, style), color), 3.0);
    }
}

TEST_P(Indicator, IsDrawnByFusionInALightPalette)
{
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
    EXPECT_EQ(indicator(GetParam(), light_palette(), Qt::white, style),
              indicator(GetParam(), light_palette(), Qt::white, *fusion));
}

INSTANTIATE_TEST_SUITE_P(AfcqStyle, Indicator,
                         ::testing::Values(QStyle::PE_IndicatorCheckBox,
                                           QStyle::PE_IndicatorItemViewItemCheck,
                                           QStyle::PE_IndicatorRadioButton));

TEST(AfcqStyle, DetectsDarkPalettes)
{
    EXPECT_TRUE(afcq_is_dark(dark_palette()));
    EXPECT_FALSE(afcq_is_dark(light_palette()));
}

TEST(AfcqStyle, DrawsAPrimaryButtonInAReadableAccentColour)
{
    AFCQ_STYLE style;
    for (const QPalette& palette : {light_palette(), dark_palette()})
    {
        QPushButton button("Download");
        button.setStyle(&style);
        button.setPalette(palette);
        button.setProperty("afcq_primary", true);
        const QImage image = picture_of(button);
        const AFCQ_ACCENT accent = afcq_accent(palette);
        EXPECT_EQ(most_frequent_color(image), accent.ground);
        EXPECT_GE(contrast(accent.ground, accent.text), 4.5);
        EXPECT_GE(contrast(accent.ground, palette.color(QPalette::Window)), 3.0);
        EXPECT_TRUE(has_color(image, accent.text));
        button.setDisabled(true);
        EXPECT_FALSE(has_color(picture_of(button), accent.ground)) << "looks enabled";
    }
}

TEST(AfcqStyle, KeepsTheTextOfAPressedPrimaryButtonReadable)
{
    AFCQ_STYLE style;
    for (const QPalette& palette : {light_palette(), dark_palette()})
    {
        QPushButton button("Download");
        button.setStyle(&style);
        button.setPalette(palette);
        button.setProperty("afcq_primary", true);
        button.setDown(true);
        const QColor ground = most_frequent_color(picture_of(button));
        EXPECT_NE(ground, afcq_accent(palette).ground);
        EXPECT_GE(contrast(ground, afcq_accent(palette).text), 4.5);
    }
}

TEST(AfcqStyle, DrawsOtherButtonsQuietly)
{
    AFCQ_STYLE style;
    for (const QPalette& palette : {light_palette(), dark_palette()})
    {
        QPushButton button("Settings");
        button.setStyle(&style);
        button.setPalette(palette);
        button.setDefault(true);
        EXPECT_EQ(most_frequent_color(picture_of(button)), palette.color(QPalette::Button));
    }
}

TEST(AfcqStyle, MeasuresContrast)
{
    EXPECT_NEAR(afcq_contrast(Qt::black, Qt::white), 21, 1e-6);
    EXPECT_NEAR(afcq_contrast(Qt::red, Qt::red), 1, 1e-6);
    EXPECT_NEAR(afcq_contrast(Qt::white, Qt::red), 3.998, 1e-3);
}

TEST(AfcqStyle, IsFusionByName)
{
    EXPECT_EQ(AFCQ_STYLE().objectName(), "fusion");
    EXPECT_EQ(AFCQ_STYLE().baseStyle()->objectName(), "fusion");
}
