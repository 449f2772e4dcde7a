#include "install/vinst/gui/vinst_downloader_treeview_delegates.h"

#include "install/vinst/gui/vinst_downloader_treeview_model.h"
#include "install/vinst/gui/vinst_downloader_treeview_rules.h"
#include "install/vinst/gui/vinst_row_state.h"
#include "support/afcq/afcq_images.h"

#include <QApplication>
#include <QDateTime>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QTreeView>

#include <algorithm>

namespace
{

constexpr QSize image_size(16, 16); // logical pixels
constexpr int button_margin = 1;
constexpr int row_padding = 5; // pixels
constexpr int bar_margin = 6;  // space between the bar and the neighbouring columns
constexpr int summary_margin = 6;
constexpr int bar_inset = 6; // space above and below the bar

/// The cell's background: selection, stripes and focus, without any content.
void paint_ground(QPainter& painter, const QStyleOptionViewItem& option)
{
    const QStyle* style = option.widget != nullptr ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, &painter, option.widget);
}

const QStyle& style_of(const QStyleOptionViewItem& option)
{
    return option.widget != nullptr ? *option.widget->style() : *QApplication::style();
}

VINST_INTEGRITY_STATE state_at(const QModelIndex& index)
{
    return static_cast<VINST_INTEGRITY_STATE>(index.data(tree_cell_role).toInt());
}

/// 0 if there is none.
int icon_of(VINST_INTEGRITY_STATE state)
{
    switch (state)
    {
    case VINST_INTEGRITY_STATE::not_checked:
        return afcq_not_checked_icon;
    case VINST_INTEGRITY_STATE::passed:
        return afcq_passed_icon;
    case VINST_INTEGRITY_STATE::failed:
        return afcq_failed_icon;
    case VINST_INTEGRITY_STATE::none:
    case VINST_INTEGRITY_STATE::checking:
        break;
    }
    return 0;
}

qreal ratio_of(const QStyleOptionViewItem& option)
{
    return option.widget != nullptr ? option.widget->devicePixelRatioF() : qApp->devicePixelRatio();
}

QRect button_rect(const QStyleOptionViewItem& option)
{
    return option.rect.adjusted(button_margin, button_margin, -button_margin, -button_margin);
}

/// The place of a row's state beside its progress bar.
QRect state_rect(const QStyleOptionViewItem& option)
{
    constexpr int gap = 3;
    const int side = std::min(image_size.height(), option.rect.height() - 2);
    return QStyle::alignedRect(option.direction, Qt::AlignRight | Qt::AlignVCenter,
                               QSize(side, side), option.rect.adjusted(gap, 0, -gap, 0));
}

void paint_state(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const auto kind = static_cast<VINST_ROW_STATE::KIND>(index.data(tree_state_role).toInt());
    if (const int number = row_state_icon(kind); number != 0)
        afcq_get_icon(number).paint(&painter, state_rect(option), Qt::AlignCenter);
}

/// Empty unless the row is a group that is collapsed.
QString shown_summary(const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const auto* const tree = qobject_cast<const QTreeView*>(option.widget);
    const bool is_collapsed =
        tree != nullptr && index.model()->hasChildren(index) && !tree->isExpanded(index);
    return is_collapsed ? index.data(tree_summary_role).toString() : QString();
}

QStyleOptionButton run_button(const QStyleOptionViewItem& option)
{
    QStyleOptionButton button;
    button.rect = button_rect(option);
    button.text = run_button_text();
    button.palette = option.palette;
    button.fontMetrics = option.fontMetrics;
    button.direction = option.direction;
    return button;
}

}

void VINST_DOWNLOADER_TREEVIEW_NAME_DELEGATE::paint(QPainter* painter,
                                                    const QStyleOptionViewItem& option,
                                                    const QModelIndex& index) const
{
    const QString summary = shown_summary(option, index);
    if (summary.isEmpty())
        return QStyledItemDelegate::paint(painter, option, index);
    paint_ground(*painter, option);
    const int width = option.fontMetrics.horizontalAdvance(summary) + 2 * summary_margin;
    QStyleOptionViewItem name = option;
    QRect place = option.rect;
    if (option.direction == Qt::RightToLeft)
        name.rect.setLeft(name.rect.left() + width);
    else
        name.rect.setRight(name.rect.right() - width);
    place.setLeft(option.direction == Qt::RightToLeft ? place.left() : name.rect.right());
    place.setWidth(width - summary_margin);
    QStyledItemDelegate::paint(painter, name, index);
    const bool is_selected = option.state.testFlag(QStyle::State_Selected);
    style_of(option).drawItemText(
        painter, place, static_cast<int>(Qt::AlignRight | Qt::AlignVCenter), option.palette, true,
        summary, is_selected ? QPalette::HighlightedText : QPalette::Text);
}

QSize VINST_DOWNLOADER_TREEVIEW_NAME_DELEGATE::sizeHint(const QStyleOptionViewItem& option,
                                                        const QModelIndex& index) const
{
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, row_padding);
}

void VINST_DOWNLOADER_TREEVIEW_PROGRESS_BAR_DELEGATE::paint(QPainter* painter,
                                                            const QStyleOptionViewItem& option,
                                                            const QModelIndex& index) const
{
    if (index.column() != progress_column)
        return QStyledItemDelegate::paint(painter, option, index);
    paint_ground(*painter, option);
    paint_state(*painter, option, index);
    const int percent = progress_percent(index.data(tree_cell_role).toString());
    if (percent < 0)
        return;
    QStyleOptionProgressBar bar;
    const QRect room =
        option.rect.adjusted(bar_margin, 0, -state_rect(option).width() - bar_margin, 0);
    bar.rect =
        QStyle::alignedRect(option.direction, Qt::AlignCenter,
                            QSize(room.width(), std::max(1, room.height() - bar_inset)), room);
    // On some platforms an inactive window has no colour for the bar.
    bar.palette = option.palette;
    bar.palette.setCurrentColorGroup(QPalette::Active);
    bar.fontMetrics = option.fontMetrics;
    bar.direction = option.direction;
    bar.state = QStyle::State_Enabled | QStyle::State_Horizontal;
    bar.minimum = 0;
    bar.maximum = 100;
    bar.progress = std::min(percent, 100);
    bar.text = QString::number(percent) + '%';
    bar.textVisible = true;
    bar.textAlignment = Qt::AlignCenter;
    style_of(option).drawControl(QStyle::CE_ProgressBar, &bar, painter, option.widget);
}

VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE(
    QObject* parent)
    : QStyledItemDelegate(parent), clock(&QDateTime::currentMSecsSinceEpoch),
      m_frame_delay(afcq_get_frame_delay(afcq_checking_movie))
{
}

QMovie& VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::movie(qreal ratio) const
{
    if (m_movie == nullptr || !qFuzzyCompare(m_movie_ratio, ratio))
    {
        m_movie = afcq_get_movie(afcq_checking_movie, ratio);
        m_movie_ratio = ratio;
        m_movie->jumpToFrame(0); // the size is unknown before that
    }
    return *m_movie;
}

QPixmap VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::current_frame(qreal ratio) const
{
    QMovie& checking = movie(ratio);
    checking.jumpToFrame(frame_at(clock(), checking.frameCount(), m_frame_delay));
    return checking.currentPixmap();
}

void VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::paint(QPainter* painter,
                                                         const QStyleOptionViewItem& option,
                                                         const QModelIndex& index) const
{
    if (index.column() != integrity_column)
        return QStyledItemDelegate::paint(painter, option, index);
    paint_ground(*painter, option);
    paint_image(*painter, option, state_at(index));
}

void VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::paint_image(QPainter& painter,
                                                               const QStyleOptionViewItem& option,
                                                               VINST_INTEGRITY_STATE state) const
{
    const int side = std::min({option.rect.width(), option.rect.height(), image_size.height()});
    const QRect square =
        QStyle::alignedRect(option.direction, Qt::AlignCenter, QSize(side, side), option.rect);
    if (state == VINST_INTEGRITY_STATE::checking)
    {
        painter.drawPixmap(square, current_frame(ratio_of(option)));
        return;
    }
    const QIcon icon = afcq_get_icon(icon_of(state));
    if (!icon.isNull())
        icon.paint(&painter, square, Qt::AlignCenter);
}

void VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::setModelData(QWidget* editor,
                                                                QAbstractItemModel* model,
                                                                const QModelIndex& index) const
{
    QStyledItemDelegate::setModelData(editor, model, index);
    if (state_at(index) == VINST_INTEGRITY_STATE::checking && m_movie != nullptr)
        m_movie->stop();
}

QSize VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE::sizeHint(const QStyleOptionViewItem& option,
                                                             const QModelIndex& index) const
{
    const bool is_checking = state_at(index) == VINST_INTEGRITY_STATE::checking;
    const QPixmap frame = is_checking ? movie(ratio_of(option)).currentPixmap() : QPixmap();
    return frame.isNull() ? QStyledItemDelegate::sizeHint(option, index)
                          : frame.size() / frame.devicePixelRatio();
}

bool VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::can_be_pressed(const QModelIndex& index) const
{
    return m_is_enabled && index.data(tree_cell_role).toBool() &&
           !index.data(tree_running_role).toBool();
}

void VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::paint(QPainter* painter,
                                                          const QStyleOptionViewItem& option,
                                                          const QModelIndex& index) const
{
    paint_ground(*painter, option);
    if (!index.data(tree_cell_role).toBool())
        return;
    QStyleOptionButton button = run_button(option);
    button.state = m_pressed == index ? QStyle::State_Sunken : QStyle::State_Raised;
    if (can_be_pressed(index))
        button.state |= QStyle::State_Enabled | (option.state & QStyle::State_MouseOver);
    else
        button.palette.setCurrentColorGroup(QPalette::Disabled);
    style_of(option).drawControl(QStyle::CE_PushButton, &button, painter, option.widget);
}

QSize VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::sizeHint(const QStyleOptionViewItem& option,
                                                              const QModelIndex& index) const
{
    const int width =
        option.fontMetrics.horizontalAdvance(run_button_text()) * 2 + 2 * button_margin;
    return QStyledItemDelegate::sizeHint(option, index).expandedTo(QSize(width, 0));
}

bool VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::editorEvent(QEvent* event,
                                                                QAbstractItemModel* model,
                                                                const QStyleOptionViewItem& option,
                                                                const QModelIndex& index)
{
    const bool is_press = event->type() == QEvent::MouseButtonPress;
    if (!is_press && event->type() != QEvent::MouseButtonRelease)
        return QStyledItemDelegate::editorEvent(event, model, option, index);

    const auto& mouse = static_cast<const QMouseEvent&>(*event);
    const bool is_inside = mouse.button() == Qt::LeftButton && can_be_pressed(index) &&
                           button_rect(option).contains(mouse.pos());
    if (is_press)
    {
        m_pressed = is_inside ? QPersistentModelIndex(index) : QPersistentModelIndex();
        return is_inside;
    }
    const bool is_click = is_inside && m_pressed == index;
    forget_press();
    if (is_click)
        Q_EMIT clicked(index);
    return is_click;
}
