#include "tests/gui/small_screen.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QScrollArea>

namespace
{

bool is_inside(const QWidget& inner, const QWidget& window)
{
    // The part that no scroll area hides.
    const QRect visible = inner.visibleRegion().boundingRect();
    return visible.size() == inner.size() &&
           window.rect().contains(QRect(inner.mapTo(&window, QPoint(0, 0)), inner.size()));
}

}

void expect_fits_small_screen(QWidget& window)
{
    window.resize(small_screen.boundedTo(window.size()));
    QApplication::setActiveWindow(&window);
    QApplication::processEvents();
    EXPECT_LE(window.width(), small_screen.width());
    EXPECT_LE(window.height(), small_screen.height());
    for (QAbstractButton* const button : window.findChildren<QAbstractButton*>())
    {
        if (button->window() != &window || !button->isVisible())
            continue;
        button->setFocus(Qt::TabFocusReason);
        // The scroll area follows Tab, which a test can't press on every button.
        for (QWidget* above = button->parentWidget(); above != nullptr;
             above = above->parentWidget())
            if (auto* const area = qobject_cast<QScrollArea*>(above))
                area->ensureWidgetVisible(button);
        QApplication::processEvents();
        EXPECT_TRUE(is_inside(*button, window)) << button->objectName().toStdString();
    }
}
