#include "support/afcq/afcq_dialog.h"

#include <QGuiApplication>
#include <QScreen>
#include <QShowEvent>
#include <QStyle>

#include <algorithm>

namespace
{

qint64 area(const QRect& rect)
{
    return rect.isEmpty() ? 0 : qint64(rect.width()) * rect.height();
}

/// The frame around a window. Unknown before the window manager has drawn it; until then, an upper
/// bound for common window managers.
QMargins frame_margins(const QWidget& window)
{
    const QRect inside = window.geometry();
    const QRect outside = window.frameGeometry();
    if (inside != outside)
        return {inside.left() - outside.left(), inside.top() - outside.top(),
                outside.right() - inside.right(), outside.bottom() - inside.bottom()};
    const int border = window.style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    const int title_bar = window.style()->pixelMetric(QStyle::PM_TitleBarHeight) * 3 / 2;
    return {border, title_bar, border, border};
}

}

QRect afcq_moved_onto_screen(const QRect& window, const std::vector<QRect>& screens)
{
    if (screens.empty())
        return window;
    const QRect& screen = *std::max_element(screens.begin(), screens.end(),
                                            [&](const QRect& one, const QRect& other)
                                            { return area(one & window) < area(other & window); });
    QRect moved(window.topLeft(), window.size().boundedTo(screen.size()));
    moved.moveLeft(std::clamp(moved.left(), screen.left(), screen.right() - moved.width() + 1));
    moved.moveTop(std::clamp(moved.top(), screen.top(), screen.bottom() - moved.height() + 1));
    return moved;
}

void afcq_fit_onto_screens(QWidget& window)
{
    if (window.isMaximized() || window.isFullScreen())
        return;
    const QMargins frame = frame_margins(window);
    std::vector<QRect> areas;
    for (const QScreen* screen : QGuiApplication::screens())
        areas.push_back(screen->availableGeometry().marginsRemoved(frame));
    if (const QRect fitting = afcq_moved_onto_screen(window.geometry(), areas);
        fitting != window.geometry())
        window.setGeometry(fitting);
}

AFCQ_DIALOG::AFCQ_DIALOG(QWidget* parent) : QDialog(parent)
{
    setWindowFlags((windowFlags() | Qt::WindowMinMaxButtonsHint) &
                   ~Qt::WindowContextHelpButtonHint);
    setSizeGripEnabled(true);
}

void AFCQ_DIALOG::restore_geometry(const QByteArray& saved)
{
    if (!saved.isEmpty() && restoreGeometry(saved))
        afcq_fit_onto_screens(*this);
}

void AFCQ_DIALOG::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // Spontaneous events come from the window system; the user's position is then kept.
    if (!event->spontaneous())
        afcq_fit_onto_screens(*this);
}
