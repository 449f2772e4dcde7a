#include "install/vinst/gui/vinst_dialog_host.h"

#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QTimer>

#include <functional>

namespace
{

/// What the user gets who does this in the dialog for choosing a directory.
QString chosen(const QString& start, const std::function<void(QDialog&)>& act)
{
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user,
                     [&]
                     {
                         auto* const dialog =
                             qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                         if (dialog == nullptr)
                             return;
                         user.stop();
                         EXPECT_TRUE(dialog->testOption(QFileDialog::ShowDirsOnly));
                         EXPECT_EQ(dialog->directory().path(), start);
                         act(*dialog);
                     });
    user.start(10);
    return VINST_DIALOG_HOST::this_machine().choose_directory(nullptr, start);
}

}

TEST(DialogHost, DescribesThisMachine)
{
    const VINST_DIALOG_HOST host = VINST_DIALOG_HOST::this_machine();
    const TEMP_DIR dir;
    EXPECT_EQ(host.platform, this_platform());
    EXPECT_GT(host.query_volume(dir.qstr()).available, 0);
}

TEST(DialogHost, AsksForADirectory)
{
    // The desktop's dialog is not a widget.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const TEMP_DIR dir;
    const QString path = QDir(dir.qstr()).path();
    EXPECT_EQ(chosen(path, [](QDialog& dialog) { dialog.accept(); }), path);
    EXPECT_EQ(chosen(path, [](QDialog& dialog) { dialog.reject(); }), "");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs, false);
}
