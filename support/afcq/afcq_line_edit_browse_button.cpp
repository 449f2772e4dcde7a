#include "support/afcq/afcq_line_edit_browse_button.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>

AFCQ_LINE_EDIT_BROWSE_BUTTON::AFCQ_LINE_EDIT_BROWSE_BUTTON(QWidget* parent)
    : QWidget(parent), m_line_edit(new QLineEdit(this)), m_browse_button(new QToolButton(this))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_line_edit);
    layout->addWidget(m_browse_button);
    m_line_edit->setObjectName("m_line_edit");
    m_browse_button->setObjectName("m_browse_button");
    m_browse_button->setText("...");
    m_browse_button->setFocusPolicy(Qt::StrongFocus);
    m_browse_button->setToolTip("Browse");
    // A label's shortcut and the tab key move the focus to the line edit.
    setFocusProxy(m_line_edit);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    connect(m_browse_button, &QToolButton::clicked, this,
            &AFCQ_LINE_EDIT_BROWSE_BUTTON::browse_clicked_signal);
    connect(m_line_edit, &QLineEdit::textChanged, this,
            &AFCQ_LINE_EDIT_BROWSE_BUTTON::text_changed);
    name_parts();
}

QString AFCQ_LINE_EDIT_BROWSE_BUTTON::text() const
{
    return m_line_edit->text();
}

void AFCQ_LINE_EDIT_BROWSE_BUTTON::set_text(const QString& text)
{
    m_line_edit->setText(text);
}

bool AFCQ_LINE_EDIT_BROWSE_BUTTON::event(QEvent* event)
{
    if (event->type() == QEvent::Polish)
        name_parts();
    return QWidget::event(event);
}

void AFCQ_LINE_EDIT_BROWSE_BUTTON::name_parts()
{
    m_line_edit->setAccessibleName(accessibleName());
    m_browse_button->setAccessibleName("Browse for the " + accessibleName().toLower());
}
