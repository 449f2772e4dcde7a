#include "install/vinst/gui/vinst_message_font.h"

#include <QApplication>
#include <QFont>

void use_message_font()
{
    QApplication::setFont(QApplication::font("QMessageBox"));
}
