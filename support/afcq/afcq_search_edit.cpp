#include "support/afcq/afcq_search_edit.h"

#include <QKeyEvent>

AFCQ_SEARCH_EDIT::AFCQ_SEARCH_EDIT(QWidget* parent) : QLineEdit(parent)
{
    setClearButtonEnabled(true);
}

void AFCQ_SEARCH_EDIT::keyPressEvent(QKeyEvent* event)
{
    const bool is_shifted = event->modifiers().testFlag(Qt::ShiftModifier);
    switch (event->key())
    {
    case Qt::Key_Escape:
        if (text().isEmpty())
            event->ignore();
        else
            clear();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        is_shifted ? Q_EMIT previous_requested() : Q_EMIT next_requested();
        return;
    case Qt::Key_Down:
        Q_EMIT next_requested();
        return;
    case Qt::Key_Up:
        Q_EMIT previous_requested();
        return;
    default:
        QLineEdit::keyPressEvent(event);
    }
}
