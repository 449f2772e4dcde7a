#include "support/afcq/afcq_scroll_area.h"

#include <QApplication>
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
    return {std::max(content.width(), minimumSizeHint().width()), content.height()};
}

QSize AFCQ_SCROLL_AREA::minimumSizeHint() const
{
    const QSize own = QScrollArea::minimumSizeHint();
    if (widget() == nullptr)
        return own;
    const int content = widget()->minimumSizeHint().width();
    return {content + verticalScrollBar()->sizeHint().width(), own.height()};
}
