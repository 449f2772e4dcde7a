#include "install/vinst/gui/vinst_modal_dialogs.h"

#include "install/vinst/base/vinst_stop.h"

#include <QApplication>
#include <QDialog>

namespace
{

/// The main dialog is modal for its own window only, and nobody waits for its answer.
bool waits_for_an_answer(const QDialog& dialog)
{
    return dialog.windowModality() == Qt::ApplicationModal;
}

}

int exec_modal(QDialog& dialog)
{
    if (is_shutting_down())
        return QDialog::Rejected;
    return dialog.exec();
}

void dismiss_modal_dialogs()
{
    // All of them rather than the ones this program makes: Qt's file dialog opens boxes, too.
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* const window : windows)
    {
        if (!window->isVisible())
            continue;
        if (window->windowType() == Qt::Popup)
            window->close();
        else if (auto* const dialog = qobject_cast<QDialog*>(window);
                 dialog != nullptr && waits_for_an_answer(*dialog))
            dialog->reject(); // closing is refused by a question without a Cancel button
    }
}
