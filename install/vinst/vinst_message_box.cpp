#include "install/vinst/vinst_message_box.h"

#include <QMessageBox>
#include <QString>

void show_message_box(const std::string& text, bool is_error)
{
    QMessageBox box;
    box.setWindowTitle(QStringLiteral("Orvane\u00ae Veltrin\u00ae Crest Installer"));
    box.setTextFormat(Qt::RichText);
    box.setText(QString::fromStdString(text).toHtmlEscaped().replace('\n', "<br/>"));
    box.setIcon(is_error ? QMessageBox::Critical : QMessageBox::Information);
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}
