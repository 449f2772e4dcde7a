#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <vector>

/// A message box as shown to the user.
struct SHOWN_BOX
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    Qt::TextFormat format = Qt::AutoText;
    QStringList buttons; ///< in no particular order
    bool modal = false;
};

/// Answers the modal message boxes that appear during its lifetime, each with the next button text.
/// An unexpected box fails the test, and so does an expected one that is not shown.
class MODAL_BOXES final
{
public:
    explicit MODAL_BOXES(const QStringList& answers) : m_answers(answers)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { answer(); });
        m_timer.start(std::chrono::milliseconds(10));
    }
    ~MODAL_BOXES() { EXPECT_EQ(m_answers.join(", ").toStdString(), "") << "boxes never shown"; }
    MODAL_BOXES(const MODAL_BOXES&) = delete;
    MODAL_BOXES& operator=(const MODAL_BOXES&) = delete;

    const std::vector<SHOWN_BOX>& shown() const { return m_shown; }
    /// Checks the check box of the following boxes before they are answered.
    void check_boxes() { m_check = true; }

private:
    void answer()
    {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr)
            return;
        SHOWN_BOX seen{box->windowTitle(), box->text(), box->icon(),
                       box->textFormat(),  {},          box->isModal()};
        for (const QAbstractButton* button : box->buttons())
            seen.buttons.append(plain(button->text()));
        m_shown.push_back(seen);
        if (m_check && box->checkBox() != nullptr)
            box->checkBox()->setChecked(true);
        if (m_answers.isEmpty())
        {
            ADD_FAILURE() << "unexpected message box: " << box->text().toStdString();
            box->reject();
            return;
        }
        const QString wanted = m_answers.takeFirst();
        for (QAbstractButton* button : box->buttons())
        {
            if (plain(button->text()) != wanted)
                continue;
            button->click();
            return;
        }
        // The window's own close button.
        EXPECT_EQ(wanted.toStdString(), "(close)") << "no such button";
        box->close();
    }

    static QString plain(QString text) { return text.remove('&'); }

    QStringList m_answers;
    std::vector<SHOWN_BOX> m_shown;
    bool m_check = false;
    QTimer m_timer;
};
