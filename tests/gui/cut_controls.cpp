#include "tests/gui/cut_controls.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QScrollArea>
#include <QSizeGrip>
#include <QSplitter>

#include <algorithm>
#include <vector>

namespace
{

bool is_content_of_scroll_area(const QWidget& widget)
{
    const QWidget* const viewport = widget.parentWidget();
    const auto* const area =
        viewport != nullptr ? qobject_cast<const QScrollArea*>(viewport->parentWidget()) : nullptr;
    return area != nullptr && area->viewport() == viewport && area->widget() == &widget;
}

/// A part of a control that Qt draws and places itself.
bool is_internal(const QWidget& widget)
{
    if (qobject_cast<const QSizeGrip*>(&widget) != nullptr ||
        qobject_cast<const QSplitterHandle*>(&widget) != nullptr ||
        widget.objectName().startsWith("qt_"))
        return true;
    for (const QWidget* above = widget.parentWidget(); above != nullptr;
         above = above->parentWidget())
    {
        if (qobject_cast<const QAbstractSpinBox*>(above) != nullptr ||
            qobject_cast<const QLineEdit*>(above) != nullptr)
            return true;
        const bool scrolls = qobject_cast<const QAbstractScrollArea*>(above) != nullptr;
        if (scrolls && qobject_cast<const QScrollArea*>(above) == nullptr)
            return true;
        if (above->isWindow())
            break;
    }
    return false;
}

bool is_cut_by_parent(const QWidget& widget)
{
    const QWidget* const parent = widget.parentWidget();
    if (parent == nullptr)
        return false;
    if (is_content_of_scroll_area(widget))
        return widget.width() > parent->width();
    return !parent->rect().contains(widget.geometry());
}

bool is_label_cut(const QLabel& label)
{
    const QPixmap picture = label.pixmap(Qt::ReturnByValue);
    if (!picture.isNull())
    {
        const QSize size = picture.size() / picture.devicePixelRatio();
        return size.width() > label.width() || size.height() > label.height();
    }
    if (label.text().isEmpty())
        return false;
    if (label.wordWrap())
        return label.heightForWidth(label.width()) > label.height();
    if (label.sizePolicy().horizontalPolicy() == QSizePolicy::Ignored)
        return label.fontMetrics().horizontalAdvance(label.text()) > label.width();
    return label.sizeHint().width() > label.width() || label.sizeHint().height() > label.height();
}

bool is_text_cut(const QWidget& widget)
{
    if (const auto* const label = qobject_cast<const QLabel*>(&widget))
        return is_label_cut(*label);
    if (const auto* const box = qobject_cast<const QGroupBox*>(&widget))
        return box->fontMetrics().horizontalAdvance(box->title()) > box->width();
    if (const auto* const bar = qobject_cast<const QProgressBar*>(&widget))
        return bar->isTextVisible() && bar->fontMetrics().ascent() > bar->height();
    if (qobject_cast<const QAbstractButton*>(&widget) == nullptr &&
        qobject_cast<const QLineEdit*>(&widget) == nullptr &&
        qobject_cast<const QAbstractSpinBox*>(&widget) == nullptr)
        return false;
    const QSize least = widget.minimumSizeHint();
    return least.width() > widget.width() || least.height() > widget.height();
}

bool is_control(const QWidget& widget)
{
    return qobject_cast<const QLabel*>(&widget) != nullptr ||
           qobject_cast<const QAbstractButton*>(&widget) != nullptr ||
           qobject_cast<const QLineEdit*>(&widget) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(&widget) != nullptr ||
           qobject_cast<const QProgressBar*>(&widget) != nullptr ||
           qobject_cast<const QGroupBox*>(&widget) != nullptr ||
           qobject_cast<const QAbstractScrollArea*>(&widget) != nullptr;
}

const QWidget* overlapped_by(const QWidget& widget, const std::vector<const QWidget*>& controls)
{
    const auto other = std::find_if(controls.begin(), controls.end(),
                                    [&](const QWidget* each)
                                    {
                                        return each != &widget &&
                                               each->parentWidget() == widget.parentWidget() &&
                                               each->geometry().intersects(widget.geometry());
                                    });
    return other == controls.end() ? nullptr : *other;
}

QString name_of(const QWidget& widget)
{
    const QString name = widget.objectName();
    return name.isEmpty() ? QString(widget.metaObject()->className()) : name;
}

}

QStringList cut_controls(const QWidget& window)
{
    std::vector<const QWidget*> controls;
    QStringList cut;
    for (const QWidget* widget : window.findChildren<QWidget*>())
    {
        if (widget->window() != &window || !widget->isVisible() || is_internal(*widget))
            continue;
        if (is_control(*widget))
            controls.push_back(widget);
        if (is_cut_by_parent(*widget))
            cut.append(name_of(*widget) + " is outside of " + name_of(*widget->parentWidget()));
        if (is_text_cut(*widget))
            cut.append(name_of(*widget) + " is smaller than its text");
    }
    for (const QWidget* widget : controls)
        if (const QWidget* const other = overlapped_by(*widget, controls))
            cut.append(name_of(*widget) + " overlaps " + name_of(*other));
    return cut;
}
