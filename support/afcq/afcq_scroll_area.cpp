#include "support/afcq/afcq_scroll_area.h"

#include <QApplication>
#include <QEvent>
#include <QScrollBar>

#include <algorithm>

AFCQ_SCROLL_AREA::AFCQ_SCROLL_AREA(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    // QScrollArea itself only follows the Tab key, and not from outside.
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now)
            {
                if (now != nullptr && widget() != nullptr && widget()->isAncestorOf(now))
                    ensureWidgetVisible(now);
            });
}

QSize AFCQ_SCROLL_AREA::sizeHint() const
{
    if (widget() == nullptr)
        return QScrollArea::sizeHint();
    // QScrollArea's own hint is limited to a few lines of text.
    const QSize content = widget()->sizeHint();
    const int width = std::max(content.width(), minimumSizeHint().width());
    // Less or more than the hint if the content has labels that wrap.
    const int height = widget()->hasHeightForWidth() ? widget()->heightForWidth(content.width())
                                                     : content.height();
    return {width, std::max(height, content.height())};
}

QSize AFCQ_SCROLL_AREA::minimumSizeHint() const
{
    const QSize own = QScrollArea::minimumSizeHint();
    if (widget() == nullptr)
        return own;
    const int content = widget()->minimumSizeHint().width();
    return {content + verticalScrollBar()->sizeHint().width(), own.height()};
}

bool AFCQ_SCROLL_AREA::eventFilter(QObject* watched, QEvent* event)
{
    // QScrollArea itself doesn't tell its parent's layout when its content wants another size.
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}
