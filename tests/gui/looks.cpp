#include "tests/gui/looks.h"

#include <QWidget>

#include <algorithm>
#include <cmath>
#include <map>

namespace
{

QPalette palette_of(const QColor& window, const QColor& base, const QColor& text)
{
    QPalette palette(window, window);
    palette.setColor(QPalette::Base, base);
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(role, text);
    return palette;
}

/// Relative luminance: 0 is black, 1 is white.
double luminance(const QColor& color)
{
    const auto linear = [](double part)
    { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

std::map<QRgb, int> colors_of(const QImage& image)
{
    std::map<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    return counts;
}

}

QPalette light_palette()
{
    return palette_of({239, 239, 239}, Qt::white, Qt::black);
}

QPalette dark_palette()
{
    return palette_of({53, 53, 53}, {35, 35, 35}, Qt::white);
}

double contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QImage picture_of(QWidget& control)
{
    control.resize(control.sizeHint());
    return control.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

QColor most_frequent_color(const QImage& image)
{
    const std::map<QRgb, int> counts = colors_of(image);
    const auto most = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& one, const auto& other)
                                       { return one.second < other.second; });
    return most == counts.end() ? QColor() : QColor(most->first);
}

bool has_color(const QImage& image, const QColor& color)
{
    return colors_of(image).count(color.rgb()) > 0;
}
