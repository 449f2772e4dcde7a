#include "install/vinst/gui/vinst_modal_dialogs.h"

#include "install/vinst/base/vinst_stop.h"

#include <QApplication>
#include <QDialog>

namespace
{

/// The main dialog is only window-modal, and no caller waits for its result.
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
    // All windows, not only those of this program: Qt's file dialog opens message boxes, too.
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* const window : windows)
    {
        if (!window->isVisible())
            continue;
        if (window->windowType() == Qt::Popup)
            window->close();
        else if (auto* const dialog = qobject_cast<QDialog*>(window);
                 dialog != nullptr && waits_for_an_answer(*dialog))
            dialog->reject(); // a question without a Cancel button ignores close()
    }
}
