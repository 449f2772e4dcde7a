#include "install/vinst/gui/vinst_message_font.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>
#include <QLabel>

TEST(MessageFont, IsThatOfAllWidgets)
{
    const QFont own = QApplication::font();
    QFont of_messages = own;
    of_messages.setPointSize(own.pointSize() + 7);
    QApplication::setFont(of_messages, "QMessageBox");
    use_message_font();
    EXPECT_EQ(QApplication::font().pointSize(), of_messages.pointSize());
    EXPECT_EQ(QLabel().font().pointSize(), of_messages.pointSize());
    QApplication::setFont(own);
}
