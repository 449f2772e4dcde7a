#include "support/afcq/afcq_colors.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Relative luminance: 0 is black, 1 is white.
double luminance(const QColor& color)
{
    const auto linear = [](double part)
    { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

}

bool afcq_is_dark(const QPalette& palette)
{
    constexpr int half_light = 128;
    return palette.color(QPalette::Window).lightness() < half_light;
}

double afcq_contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

AFCQ_ACCENT afcq_accent(const QPalette& palette)
{
    // On a dark window, the ground must be light to stand out, and then only dark text is readable.
    if (afcq_is_dark(palette))
        return {QColor(0x5a, 0xb0, 0xf5), QColor(0x0d, 0x1b, 0x26)};
    return {QColor(0x00, 0x68, 0xb5), Qt::white};
}

QColor afcq_readable_ground(const QColor& text, const QColor& window, double ratio)
{
    constexpr int greys = 256;
    const int wanted = qGray(window.rgb());
    for (int distance = 0; distance < greys; ++distance)
        for (const int level : {wanted - distance, wanted + distance})
            if (const QColor grey(level, level, level);
                grey.isValid() && afcq_contrast(grey, text) >= ratio)
                return grey;
    return afcq_contrast(Qt::black, text) > afcq_contrast(Qt::white, text) ? Qt::black : Qt::white;
}
