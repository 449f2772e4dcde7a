#pragma once

#include "install/vinst/download/vinst_downloader_view.h"

#include <QMovie>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

#include <functional>
#include <memory>

/// Paints the first column, with the summary of a group that is collapsed. The tree handles its
/// check boxes, so that one click anywhere in the cell toggles once.
class VINST_DOWNLOADER_TREEVIEW_NAME_DELEGATE final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    bool editorEvent(QEvent*, QAbstractItemModel*, const QStyleOptionViewItem&,
                     const QModelIndex&) override
    {
        return false;
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    /// The height that all rows share.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

/// Paints a component's percentage as a bar.
class VINST_DOWNLOADER_TREEVIEW_PROGRESS_BAR_DELEGATE final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

/// Paints the integrity of a component's file: an icon, or an animation while it is checked.
class VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// The time between two frames of the animation, in milliseconds.
    int frame_delay() const { return m_frame_delay; }
    /// The animation's clock, in milliseconds since an arbitrary fixed point; replaceable in tests.
    std::function<qint64()> clock;

private:
    QMovie& movie(qreal ratio) const;
    QPixmap current_frame(qreal ratio) const;
    void paint_image(QPainter& painter, const QStyleOptionViewItem& option,
                     VINST_INTEGRITY_STATE state) const;

    mutable std::unique_ptr<QMovie> m_movie; ///< created for `m_movie_ratio`
    mutable qreal m_movie_ratio = 0;
    int m_frame_delay = 0;
};

/// Paints a Run button in the cells that have one, and emits a signal when it is clicked.
class VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    /// Disables all buttons, or enables those whose installers aren't running.
    void set_enabled(bool is_enabled) { m_is_enabled = is_enabled; }
    /// Discards a press whose release happened outside the button.
    void forget_press() { m_pressed = QPersistentModelIndex(); }

Q_SIGNALS:
    void clicked(const QModelIndex& index);

private:
    bool can_be_pressed(const QModelIndex& index) const;

    QPersistentModelIndex m_pressed;
    bool m_is_enabled = true;
};
