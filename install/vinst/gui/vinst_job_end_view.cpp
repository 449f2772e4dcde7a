#include "install/vinst/gui/vinst_job_end_view.h"

#include "install/vinst/gui/vinst_message_box_rules.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

VINST_JOB_END_VIEW::VINST_JOB_END_VIEW(QWidget* parent) : QWidget(parent), m_label(new QLabel)
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_label->setObjectName("m_job_end_label");
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    layout->addWidget(m_label, 1);
    m_retry_button = add_button("m_retry_button", QStringLiteral("Retry"));
    m_open_folder_button = add_button("m_open_folder_button", QStringLiteral("Open folder"));
    m_show_log_button = add_button("m_show_log_button", QStringLiteral("Show log"));
    connect(m_retry_button, &QPushButton::clicked, this, &VINST_JOB_END_VIEW::retry_wanted);
    connect(m_open_folder_button, &QPushButton::clicked, this,
            [this] { Q_EMIT folder_wanted(m_end.dir); });
    connect(m_show_log_button, &QPushButton::clicked, this, &VINST_JOB_END_VIEW::log_wanted);
    clear();
}

QPushButton* VINST_JOB_END_VIEW::add_button(const char* name, const QString& text)
{
    auto* const button = new QPushButton(text);
    button->setObjectName(name);
    button->setAutoDefault(false); // Return starts the window's default action
    layout()->addWidget(button);
    return button;
}

void VINST_JOB_END_VIEW::show_end(const VINST_JOB_END& end)
{
    using RESULT = VINST_JOB_END::RESULT;
    m_end = end;
    m_label->setText(with_breaks(job_end_text(end)));
    // An empty label must not take the focus.
    m_label->setTextInteractionFlags(m_label->text().isEmpty() ? Qt::NoTextInteraction
                                                               : Qt::TextSelectableByMouse |
                                                                     Qt::TextSelectableByKeyboard);
    m_retry_button->setVisible(end.result == RESULT::stopped || end.result == RESULT::failed);
    m_open_folder_button->setVisible(end.was_begun && QFileInfo(end.dir).isDir());
    setVisible(end.result != RESULT::none);
}
