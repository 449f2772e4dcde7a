#include "install/vinst/gui/vinst_modal_dialogs.h"

#include "support/thr/thr_sleep.h"
#include "tests/harness/stop_request.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QMessageBox>
#include <QTimer>

namespace
{

class ModalDialogs : public ::testing::Test
{
protected:
    ~ModalDialogs() override { forget_stop_request(); }
};

}

TEST_F(ModalDialogs, ReturnTheUsersAnswer)
{
    QDialog dialog;
    QTimer::singleShot(0, &dialog, &QDialog::accept);
    EXPECT_EQ(exec_modal(dialog), QDialog::Accepted);
}

TEST_F(ModalDialogs, AreNotShownAfterAStopRequest)
{
    thr_request_stop();
    QDialog dialog;
    QTimer::singleShot(0, &dialog, &QDialog::accept);
    EXPECT_EQ(exec_modal(dialog), QDialog::Rejected);
}

TEST_F(ModalDialogs, AreDismissedWhenTheyAskForYesOrNo)
{
    QMessageBox box(QMessageBox::Question, "title", "text", QMessageBox::Yes | QMessageBox::No);
    QTimer::singleShot(0, &box, dismiss_modal_dialogs);
    exec_modal(box);
    EXPECT_EQ(box.clickedButton(), nullptr);
}

TEST_F(ModalDialogs, AreDismissedWhenOneHasOpenedAnother)
{
    QDialog outer;
    QDialog inner;
    int inner_result = QDialog::Accepted;
    QTimer::singleShot(0, &outer, [&] { inner_result = exec_modal(inner); });
    QTimer::singleShot(0, &inner, dismiss_modal_dialogs);
    EXPECT_EQ(exec_modal(outer), QDialog::Rejected);
    EXPECT_EQ(inner_result, QDialog::Rejected);
}

TEST_F(ModalDialogs, OnlyModalDialogsAreDismissed)
{
    QDialog plain;
    plain.show();
    QDialog of_its_window;
    of_its_window.open();
    dismiss_modal_dialogs();
    EXPECT_TRUE(plain.isVisible());
    EXPECT_TRUE(of_its_window.isVisible());
}
