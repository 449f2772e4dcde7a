#include "support/afcq/afcq_style.h"

#include <QStyleOption>

namespace
{

/// Halfway between the background of a box and its check mark.
QColor edge_color(const QPalette& palette)
{
    const QColor& ground = palette.color(QPalette::Base);
    const QColor& mark = palette.color(QPalette::Text);
    return {(ground.red() + mark.red()) / 2, (ground.green() + mark.green()) / 2,
            (ground.blue() + mark.blue()) / 2};
}

}

bool afcq_is_dark(const QPalette& palette)
{
    constexpr int half_light = 128;
    return palette.color(QPalette::Window).lightness() < half_light;
}

AFCQ_STYLE::AFCQ_STYLE() : QProxyStyle(QStringLiteral("Fusion"))
{
    setObjectName(QStringLiteral("fusion"));
}

void AFCQ_STYLE::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                               QPainter* painter, const QWidget* widget) const
{
    const bool has_edge = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
    const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (!has_edge || button == nullptr || !afcq_is_dark(option->palette))
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    // Fusion derives the outline from the window's colour, at about 5/7 of its lightness, and uses
    // that colour for nothing else here.
    constexpr int lighter_by_percent = 140;
    QStyleOptionButton lit = *button;
    lit.palette.setColor(QPalette::Window, edge_color(lit.palette).lighter(lighter_by_percent));
    QProxyStyle::drawPrimitive(element, &lit, painter, widget);
}
