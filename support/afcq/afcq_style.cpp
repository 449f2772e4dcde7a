#include "support/afcq/afcq_style.h"

#include "support/afcq/afcq_colors.h"
#include "support/afcq/afcq_images.h"

#include <QPainter>
#include <QStyleOption>
#include <QWidget>

#include <algorithm>

namespace
{

constexpr int button_padding = 24; // pixels, on both sides together

/// \param part  of the second colour, from 0 to 1
QColor mixed(const QColor& one, const QColor& other, double part)
{
    return QColor::fromRgbF(one.redF() + (other.redF() - one.redF()) * part,
                            one.greenF() + (other.greenF() - one.greenF()) * part,
                            one.blueF() + (other.blueF() - one.blueF()) * part);
}

/// Halfway between the background of a box and its check mark.
QColor edge_color(const QPalette& palette)
{
    return mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.5);
}

bool is_primary(const QStyleOption& option, const QWidget* widget)
{
    return widget != nullptr && option.state.testFlag(QStyle::State_Enabled) &&
           widget->property(afcq_primary_property).toBool();
}

bool has_visible_focus(const QStyleOption& option)
{
    constexpr QStyle::State focus = QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange;
    return (option.state & focus) == focus;
}

/// Away from the text's colour when hovered or pressed, so that the text stays readable.
QColor in_state(const QColor& ground, const QColor& text, const QStyleOption& option)
{
    constexpr double hovered = 0.06;
    constexpr double pressed = 0.14;
    const QColor away = afcq_contrast(text, Qt::black) > afcq_contrast(text, Qt::white)
                            ? QColor(Qt::black)
                            : QColor(Qt::white);
    if (option.state & (QStyle::State_Sunken | QStyle::State_On))
        return mixed(ground, away, pressed);
    return option.state.testFlag(QStyle::State_MouseOver) ? mixed(ground, away, hovered) : ground;
}

void draw_panel(QPainter& painter, const QRect& rect, const QColor& ground, const QPen& edge)
{
    constexpr double radius = 3;
    const double inset = edge.widthF() / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(edge);
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), radius, radius);
    painter.restore();
}

void draw_button(QPainter& painter, const QStyleOptionButton& option, const QWidget* widget)
{
    constexpr double focus_width = 2;
    const QPalette& palette = option.palette;
    const AFCQ_ACCENT accent = afcq_accent(palette);
    if (is_primary(option, widget))
    {
        const QColor ground = in_state(accent.ground, accent.text, option);
        draw_panel(painter, option.rect, ground, QPen(ground, 1));
        if (has_visible_focus(option))
            draw_panel(painter, option.rect.adjusted(2, 2, -2, -2), ground,
                       QPen(accent.text, focus_width));
        return;
    }
    const QColor text = palette.color(QPalette::ButtonText);
    const QColor ground = in_state(palette.color(QPalette::Button), text, option);
    const bool is_enabled = option.state.testFlag(QStyle::State_Enabled);
    QPen edge(mixed(palette.color(QPalette::Window), text, is_enabled ? 0.35 : 0.2), 1);
    if (is_enabled && option.features.testFlag(QStyleOptionButton::DefaultButton))
        edge.setColor(accent.ground);
    if (has_visible_focus(option))
        edge = QPen(accent.ground, focus_width);
    draw_panel(painter, option.rect, ground, edge);
}

void draw_bar_text(QPainter& painter, const QStyleOptionProgressBar& bar, const QRectF& part,
                   const QColor& color)
{
    painter.save();
    painter.setClipRect(part, Qt::IntersectClip);
    painter.setPen(color);
    painter.drawText(bar.rect, static_cast<int>(Qt::AlignCenter | Qt::TextSingleLine), bar.text);
    painter.restore();
}

/// A flat bar. Its text has another colour on the part that is done.
void draw_bar(QPainter& painter, const QStyleOptionProgressBar& bar)
{
    constexpr double radius = 2;
    constexpr double groove_shade = 0.12;
    const QPalette& palette = bar.palette;
    const AFCQ_ACCENT accent = afcq_accent(palette);
    const QColor text = palette.color(QPalette::Text);
    const QRectF all(bar.rect);
    const double range = std::max(1, bar.maximum - bar.minimum);
    const double done_width =
        all.width() * std::clamp((bar.progress - bar.minimum) / range, 0.0, 1.0);
    QRectF done(all.left(), all.top(), done_width, all.height());
    if (bar.direction == Qt::RightToLeft)
        done.moveRight(all.right());
    const QRectF open = bar.direction == Qt::RightToLeft
                            ? QRectF(all.topLeft(), QPointF(done.left(), all.bottom()))
                            : QRectF(QPointF(done.right(), all.top()), all.bottomRight());

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(palette.color(QPalette::Base), text, groove_shade));
    painter.drawRoundedRect(all, radius, radius);
    painter.setClipRect(done);
    painter.setBrush(accent.ground);
    painter.drawRoundedRect(all, radius, radius);
    painter.restore();
    if (!bar.textVisible)
        return;
    draw_bar_text(painter, bar, open, text);
    draw_bar_text(painter, bar, done, accent.text);
}

/// 0 if the suite has none.
int image_of(QStyle::StandardPixmap icon)
{
    switch (icon)
    {
    case QStyle::SP_MessageBoxInformation:
        return afcq_information_icon;
    case QStyle::SP_MessageBoxQuestion:
        return afcq_question_icon;
    case QStyle::SP_MessageBoxWarning:
        return afcq_warning_icon;
    case QStyle::SP_MessageBoxCritical:
        return afcq_error_icon;
    default:
        return 0;
    }
}

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
    if (element == PE_PanelButtonCommand && button != nullptr)
    {
        draw_button(*painter, *button, widget);
        return;
    }
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

void AFCQ_STYLE::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const
{
    const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
    if (bar != nullptr && bar->maximum > bar->minimum && bar->state.testFlag(State_Horizontal))
    {
        // Below a style sheet, Qt asks for the parts one by one.
        if (element == CE_ProgressBar || element == CE_ProgressBarContents)
            draw_bar(*painter, *bar);
        return;
    }
    const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (element != CE_PushButtonLabel || button == nullptr || !is_primary(*option, widget))
    {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    QStyleOptionButton accented = *button;
    accented.palette.setColor(QPalette::ButtonText, afcq_accent(option->palette).text);
    QProxyStyle::drawControl(element, &accented, painter, widget);
}

QIcon AFCQ_STYLE::standardIcon(StandardPixmap icon, const QStyleOption* option,
                               const QWidget* widget) const
{
    const int number = image_of(icon);
    return number != 0 ? afcq_get_icon(number) : QProxyStyle::standardIcon(icon, option, widget);
}

QSize AFCQ_STYLE::sizeFromContents(ContentsType type, const QStyleOption* option,
                                   const QSize& contents, const QWidget* widget) const
{
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    // Fusion leaves no room beside a text that is longer than its smallest button.
    return type == CT_PushButton
               ? QSize(std::max(size.width(), contents.width() + button_padding), size.height())
               : size;
}

int AFCQ_STYLE::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* data) const
{
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons)
        return 0; // Qt's pictures have another look
    return QProxyStyle::styleHint(hint, option, widget, data);
}
