#include "support/afcq/afcq_images.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSize>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <vector>

namespace
{

constexpr int unknown_number = 99999;
constexpr int status_icons[] = {afcq_failed_icon, afcq_not_checked_icon, afcq_passed_icon};
constexpr int message_icons[] = {afcq_information_icon, afcq_question_icon, afcq_warning_icon,
                                 afcq_error_icon};
constexpr int all_icons[] = {afcq_window_icon, afcq_logo, afcq_failed_icon, afcq_not_checked_icon,
                             afcq_passed_icon};

QImage render(int number, int side)
{
    return afcq_get_icon(number)
        .pixmap(nullptr, QSize(side, side))
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

int alpha(const QImage& image, int x, int y)
{
    return qAlpha(image.pixel(x, y));
}

/// Number of pixels for which the predicate, a function of x and y, holds.
template <typename PREDICATE>
int count_pixels(const QImage& image, PREDICATE predicate)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += predicate(x, y) ? 1 : 0;
    return count;
}

/// A pixel that a shape covers by half or more.
int count_painted(const QImage& image)
{
    return count_pixels(image, [&image](int x, int y) { return alpha(image, x, y) > 127; });
}

std::vector<int> corner_alphas(const QImage& image)
{
    const int right = image.width() - 1;
    const int bottom = image.height() - 1;
    return {alpha(image, 0, 0), alpha(image, right, 0), alpha(image, 0, bottom),
            alpha(image, right, bottom)};
}

const std::vector<int> transparent_corners(4, 0);

/// Number of pixels that are clearly set in only one of two pictures of the same size.
int count_shape_differences(const QImage& one, const QImage& other)
{
    return count_pixels(one, [&](int x, int y)
                        { return std::abs(alpha(one, x, y) - alpha(other, x, y)) > 64; });
}

/// An image drawn over a row's colour, pixel by pixel regardless of its device pixel ratio.
QImage on_row(QImage image, const QColor& row)
{
    image.setDevicePixelRatio(1.0);
    QImage laid(image.size(), QImage::Format_RGB32);
    laid.fill(row);
    QPainter(&laid).drawImage(0, 0, image);
    return laid;
}

double luminance(const QColor& colour)
{
    const auto linear = [](double part)
    { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// Contrast ratio, from 1 for equal brightness to 21; from 3 a shape is recognizable without
/// colour.
double contrast(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

constexpr double well_seen = 3.0;

/// Number of pixels that distinguish two pictures on a row even without colour vision.
int count_brightness_differences(const QImage& one, const QImage& other, const QColor& row)
{
    const QImage first = on_row(one, row);
    const QImage second = on_row(other, row);
    return count_pixels(
        first, [&](int x, int y)
        { return contrast(first.pixelColor(x, y), second.pixelColor(x, y)) >= well_seen; });
}

int count_well_seen(const QImage& image, const QColor& row)
{
    const QImage laid = on_row(image, row);
    return count_pixels(laid, [&](int x, int y)
                        { return contrast(laid.pixelColor(x, y), row) >= well_seen; });
}

/// Light and dark rows, and a selected one.
const QColor all_rows[] = {QColor("#ffffff"), QColor("#f0f0f0"), QColor("#2b2b2b"),
                           QColor("#308cc6")};

/// All frames of one cycle, and how long each is shown.
struct SEEN_MOVIE
{
    std::vector<QImage> frames;
};

SEEN_MOVIE play_once(QMovie& movie)
{
    SEEN_MOVIE seen;
    for (int frame = 0; frame < movie.frameCount(); ++frame)
    {
        if (!movie.jumpToNextFrame())
            break;
        seen.frames.push_back(movie.currentImage().convertToFormat(QImage::Format_ARGB32));
    }
    return seen;
}

class Icon : public testing::TestWithParam<int>
{
};

struct MOVIE_CASE
{
    qreal ratio;
    int side;
};

void PrintTo(const MOVIE_CASE& movie, std::ostream* out)
{
    *out << movie.ratio << " -> " << movie.side;
}

class CheckingMovie : public testing::TestWithParam<MOVIE_CASE>
{
};

}

TEST_P(Icon, IsPaintedAtEverySizeAndLeavesItsCornersFree)
{
    ASSERT_FALSE(afcq_get_icon(GetParam()).isNull());
    for (const int side : {16, 20, 24, 32, 48, 64, 256})
    {
        SCOPED_TRACE(side);
        const QImage image = render(GetParam(), side);
        ASSERT_EQ(std::max(image.width(), image.height()), side);
        EXPECT_GT(count_painted(image), image.width() * image.height() / 10);
        EXPECT_EQ(corner_alphas(image), transparent_corners);
    }
}

INSTANTIATE_TEST_SUITE_P(AfcqImages, Icon, testing::ValuesIn(all_icons));

TEST(AfcqImages, IconsButTheLogoAreSquare)
{
    for (const int number :
         {afcq_window_icon, afcq_failed_icon, afcq_not_checked_icon, afcq_passed_icon})
        EXPECT_EQ(render(number, 64).size(), QSize(64, 64)) << number;
}

TEST(AfcqImages, LogoIsThreeTimesAsWideAsHighAndFillsItsPixmap)
{
    const QPixmap logo = afcq_get_pixmap(afcq_logo, QSize(120, 40), 2.0);
    EXPECT_EQ(logo.size(), QSize(240, 80));
    EXPECT_EQ(logo.devicePixelRatio(), 2.0);
}

TEST(AfcqImages, LogoKeepsItsProportionsInASquare)
{
    EXPECT_EQ(render(afcq_logo, 60).size(), QSize(60, 20));
}

TEST(AfcqImages, StatusIconsDifferInShapeAndColour)
{
    for (const int side : {16, 64})
    {
        SCOPED_TRACE(side);
        const QImage failed = render(afcq_failed_icon, side);
        const QImage not_checked = render(afcq_not_checked_icon, side);
        const QImage passed = render(afcq_passed_icon, side);

        const int notable = side * side / 100;
        EXPECT_GT(count_shape_differences(failed, not_checked), notable);
        EXPECT_GT(count_shape_differences(failed, passed), notable);
        EXPECT_GT(count_shape_differences(not_checked, passed), notable);
    }
}

TEST(AfcqImages, StatusIconsAreDistinctWithoutColourOnEveryRow)
{
    for (const QColor& row : all_rows)
        for (const int side : {16, 64})
        {
            SCOPED_TRACE(testing::Message() << row.name().toStdString() << " at " << side);
            const QImage failed = render(afcq_failed_icon, side);
            const QImage not_checked = render(afcq_not_checked_icon, side);
            const QImage passed = render(afcq_passed_icon, side);

            const int notable = side * side / 20;
            EXPECT_GT(count_brightness_differences(failed, not_checked, row), notable);
            EXPECT_GT(count_brightness_differences(failed, passed, row), notable);
            EXPECT_GT(count_brightness_differences(not_checked, passed, row), notable);
        }
}

TEST(AfcqImages, MessageIconsAreOneFamilyAndSeenOnEveryWindow)
{
    for (const int number : message_icons)
        for (const int side : {32, 64})
        {
            SCOPED_TRACE(testing::Message() << number << " at " << side);
            const QImage image = render(number, side);
            EXPECT_EQ(image.size(), QSize(side, side));
            EXPECT_EQ(corner_alphas(image), transparent_corners);
            // Each fills its square, with a white symbol on one dark colour.
            EXPECT_GT(count_painted(image), side * side / 2);
            EXPECT_GT(count_pixels(image, [&](int x, int y)
                                   { return image.pixel(x, y) == qRgb(255, 255, 255); }),
                      side * side / 30);
            for (const QColor& row : all_rows)
                EXPECT_GT(count_well_seen(image, row), side * side / 20);
        }
}

TEST(AfcqImages, MessageIconsDifferFromEachOther)
{
    for (const int one : message_icons)
        for (const int other : message_icons)
        {
            const int differing =
                count_brightness_differences(render(one, 32), render(other, 32), QColor("#efefef"));
            EXPECT_EQ(differing > 32 * 32 / 20, one != other) << one << " and " << other;
        }
}

TEST(AfcqImages, StatusIconsContrastWithEveryRow)
{
    for (const QColor& row : all_rows)
        for (const int number : status_icons)
        {
            SCOPED_TRACE(testing::Message() << number << " on " << row.name().toStdString());
            EXPECT_GT(count_well_seen(render(number, 16), row), 16 * 16 / 10);
        }
}

TEST_P(CheckingMovie, HasAFixedSizeAndOneDelayForAllFrames)
{
    const auto movie = afcq_get_movie(afcq_checking_movie, GetParam().ratio);
    ASSERT_TRUE(movie->isValid());
    EXPECT_EQ(movie->state(), QMovie::NotRunning);
    EXPECT_EQ(movie->loopCount(), -1);

    const SEEN_MOVIE seen = play_once(*movie);

    ASSERT_EQ(seen.frames.size(), 12U);
    for (const QImage& frame : seen.frames)
    {
        EXPECT_EQ(frame.size(), QSize(GetParam().side, GetParam().side));
        EXPECT_EQ(frame.size() / frame.devicePixelRatio(), QSize(16, 16))
            << "as large as the icons";
    }
    QImageReader file(movie->fileName());
    for (int frame = 0; frame < 12; ++frame)
    {
        ASSERT_FALSE(file.read().isNull()) << frame;
        EXPECT_EQ(file.nextImageDelay(), 100) << frame;
    }
    EXPECT_EQ(afcq_get_frame_delay(afcq_checking_movie), 100);
}

TEST_P(CheckingMovie, MovesWithinARingThatLeavesCornersAndCentreEmpty)
{
    const auto movie = afcq_get_movie(afcq_checking_movie, GetParam().ratio);

    const SEEN_MOVIE seen = play_once(*movie);

    ASSERT_GT(seen.frames.size(), 1U);
    for (std::size_t i = 0; i < seen.frames.size(); ++i)
    {
        SCOPED_TRACE(i);
        const QImage& frame = seen.frames[i];
        const QImage& next = seen.frames[(i + 1) % seen.frames.size()];
        EXPECT_NE(frame, next);
        EXPECT_EQ(count_shape_differences(frame, next), 0);
        EXPECT_GT(count_painted(frame), frame.width() * frame.height() / 4);
        EXPECT_EQ(corner_alphas(frame), transparent_corners);
        EXPECT_EQ(alpha(frame, frame.width() / 2, frame.height() / 2), 0);
    }
}

TEST_P(CheckingMovie, ContrastsWithEveryRow)
{
    const auto movie = afcq_get_movie(afcq_checking_movie, GetParam().ratio);

    const SEEN_MOVIE seen = play_once(*movie);

    ASSERT_FALSE(seen.frames.empty());
    for (const QColor& row : all_rows)
        for (const QImage& frame : seen.frames)
        {
            SCOPED_TRACE(row.name().toStdString());
            EXPECT_GT(count_well_seen(frame, row), frame.width() * frame.height() / 20);
        }
}

INSTANTIATE_TEST_SUITE_P(AfcqImages, CheckingMovie,
                         testing::Values(MOVIE_CASE{1.0, 16}, MOVIE_CASE{1.5, 32},
                                         MOVIE_CASE{2.0, 32}, MOVIE_CASE{3.0, 48},
                                         MOVIE_CASE{4.0, 48}));

TEST(AfcqImages, UnknownImageNumberYieldsNoImage)
{
    EXPECT_TRUE(afcq_get_icon(unknown_number).isNull());
    EXPECT_EQ(afcq_get_frame_delay(unknown_number), 0);
    EXPECT_TRUE(afcq_get_pixmap(unknown_number, QSize(16, 16), 1.0).isNull());
    EXPECT_FALSE(afcq_get_movie(unknown_number, 1.0)->isValid());
    EXPECT_FALSE(afcq_get_movie(unknown_number, 3.0)->isValid());
}
