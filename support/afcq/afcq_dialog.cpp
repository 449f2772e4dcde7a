#include "support/afcq/afcq_dialog.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace
{

qint64 area(const QRect& rect)
{
    return rect.isEmpty() ? 0 : qint64(rect.width()) * rect.height();
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

AFCQ_DIALOG::AFCQ_DIALOG(QWidget* parent) : QDialog(parent)
{
    setWindowFlags((windowFlags() | Qt::WindowMinMaxButtonsHint) &
                   ~Qt::WindowContextHelpButtonHint);
    setSizeGripEnabled(true);
}

void AFCQ_DIALOG::restore_geometry(const QByteArray& saved)
{
    if (saved.isEmpty() || !restoreGeometry(saved) || isMaximized() || isFullScreen())
        return;
    std::vector<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.push_back(screen->availableGeometry());
    setGeometry(afcq_moved_onto_screen(geometry(), screens));
}
