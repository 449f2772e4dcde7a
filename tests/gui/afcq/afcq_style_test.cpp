#include "support/afcq/afcq_style.h"

#include "support/afcq/afcq_colors.h"
#include "support/afcq/afcq_images.h"
#include "tests/gui/looks.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>
#include <memory>
#include <vector>

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

TEST(AfcqStyle, GivesMessageBoxesTheSuitesIcons)
{
    const AFCQ_STYLE style;
    const std::vector<std::pair<QStyle::StandardPixmap, int>> icons{
        {QStyle::SP_MessageBoxInformation, afcq_information_icon},
        {QStyle::SP_MessageBoxQuestion, afcq_question_icon},
        {QStyle::SP_MessageBoxWarning, afcq_warning_icon},
        {QStyle::SP_MessageBoxCritical, afcq_error_icon}};
    for (const auto& [kind, number] : icons)
        for (const int side : {32, 48, 64, 96})
        {
            const QImage drawn = afcq_get_icon(number).pixmap(nullptr, QSize(side, side)).toImage();
            EXPECT_EQ(drawn.size(), QSize(side, side));
            EXPECT_EQ(style.standardIcon(kind).pixmap(nullptr, QSize(side, side)).toImage(), drawn);
        }
}

TEST(AfcqStyle, PutsNoIconsOnTheButtonsOfMessageBoxes)
{
    AFCQ_STYLE style;
    QMessageBox box;
    box.setStyle(&style);
    for (QWidget* part : box.findChildren<QWidget*>())
        part->setStyle(&style);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(style.styleHint(QStyle::SH_DialogButtonBox_ButtonsHaveIcons), 0);
    ASSERT_EQ(box.buttons().size(), 2);
    for (const QAbstractButton* button : box.buttons())
        EXPECT_TRUE(button->icon().isNull()) << button->text().toStdString();
}

TEST(AfcqStyle, MeasuresContrast)
{
    EXPECT_NEAR(afcq_contrast(Qt::black, Qt::white), 21, 1e-6);
    EXPECT_NEAR(afcq_contrast(Qt::red, Qt::red), 1, 1e-6);
    EXPECT_NEAR(afcq_contrast(Qt::white, Qt::red), 3.998, 1e-3);
}

TEST(AfcqStyle, ComputesTheGroundNearestToAWindowOnWhichATextIsReadable)
{
    const QColor window(53, 53, 53);
    // No dark grey is possible below blue: this is the darkest one that is readable.
    EXPECT_EQ(afcq_readable_ground(Qt::blue, window), QColor(188, 188, 188));
    EXPECT_GE(contrast(QColor(188, 188, 188), Qt::blue), 4.5);
    EXPECT_LT(contrast(QColor(187, 187, 187), Qt::blue), 4.5);
    EXPECT_LT(contrast(Qt::black, Qt::blue), 4.5);
    EXPECT_EQ(afcq_readable_ground(Qt::red, window), QColor(22, 22, 22));
    EXPECT_GE(contrast(QColor(22, 22, 22), Qt::red), 4.5);
    EXPECT_LT(contrast(QColor(23, 23, 23), Qt::red), 4.5);
    EXPECT_EQ(afcq_readable_ground(Qt::white, window), window);
    EXPECT_EQ(afcq_readable_ground(Qt::red, Qt::white, 6), QColor(Qt::black)) << "cannot be";
}

class Bar : public ::testing::TestWithParam<bool>
{
protected:
    QPalette palette = GetParam() ? dark_palette() : light_palette();
    const AFCQ_STYLE style;

    QImage drawn(int percent) const
    {
        QImage image(100, 20, QImage::Format_RGB32);
        image.fill(palette.color(QPalette::Base));
        QPainter painter(&image);
        QStyleOptionProgressBar bar;
        bar.rect = image.rect();
        bar.palette = palette;
        bar.state = QStyle::State_Enabled | QStyle::State_Horizontal;
        bar.maximum = 100;
        bar.progress = percent;
        bar.text = "MMMM";
        bar.textVisible = true;
        bar.textAlignment = Qt::AlignCenter;
        style.drawControl(QStyle::CE_ProgressBar, &bar, &painter);
        return image;
    }
};

TEST_P(Bar, HasReadableTextOnBothHalves)
{
    const QImage image = drawn(50);
    for (const QRect& half : {QRect(2, 2, 44, 16), QRect(54, 2, 44, 16)})
    {
        const QImage part = image.copy(half);
        const QColor ground = most_frequent_color(part);
        double strongest = 1;
        for (int y = 0; y < part.height(); ++y)
            for (int x = 0; x < part.width(); ++x)
                strongest = std::max(strongest, contrast(part.pixelColor(x, y), ground));
        EXPECT_GE(strongest, 4.5) << half.x();
    }
    EXPECT_NE(most_frequent_color(image.copy(2, 2, 44, 16)),
              most_frequent_color(image.copy(54, 2, 44, 16)));
}

TEST_P(Bar, HasNoFrame)
{
    const QImage image = drawn(100);
    EXPECT_EQ(image.pixelColor(50, 0), image.pixelColor(8, 10)) << "the edge is filled";
    const QImage empty = drawn(0);
    EXPECT_EQ(empty.pixelColor(50, 0), empty.pixelColor(8, 10));
    EXPECT_NE(empty.pixelColor(8, 10), image.pixelColor(8, 10));
}

TEST_P(Bar, LooksTheSameBelowAStyleSheet)
{
    AFCQ_STYLE own_style;
    QProgressBar bar;
    bar.setStyle(&own_style);
    bar.setPalette(palette);
    bar.setValue(100);
    const QImage plain = picture_of(bar);
    EXPECT_EQ(most_frequent_color(plain), afcq_accent(palette).ground);
    bar.setStyleSheet("QLabel { color : red; }");
    EXPECT_EQ(picture_of(bar), plain);
}

INSTANTIATE_TEST_SUITE_P(AfcqStyle, Bar, ::testing::Bool());

TEST(AfcqStyle, LeavesRoomBesideTheTextOfAButton)
{
    AFCQ_STYLE style;
    QPushButton button("Test internet connection");
    button.setStyle(&style);
    EXPECT_GE(button.sizeHint().width(),
              button.fontMetrics().horizontalAdvance(button.text()) + 20);
}

TEST(AfcqStyle, IsFusionByName)
{
    EXPECT_EQ(AFCQ_STYLE().objectName(), "fusion");
    EXPECT_EQ(AFCQ_STYLE().baseStyle()->objectName(), "fusion");
}
