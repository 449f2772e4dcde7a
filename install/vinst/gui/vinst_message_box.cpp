#include "install/vinst/gui/vinst_message_box.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "support/afcq/afcq_images.h"

#include <QApplication>
#include <QMessageBox>
#include <QString>

void show_message_box(const std::string& text, bool is_error)
{
    show_markup_box(QString::fromStdString(text).toHtmlEscaped(), is_error);
}

void show_markup_box(const QString& markup, bool is_error)
{
    QString text = markup;
    // Centred on the active window, if any.
    QMessageBox box(QApplication::activeWindow());
    box.setWindowIcon(afcq_get_icon(afcq_window_icon));
    box.setWindowTitle(program_title());
    box.setTextFormat(Qt::RichText);
    box.setText(text.replace('\n', "<br/>"));
    box.setIcon(is_error ? QMessageBox::Critical : QMessageBox::Information);
    box.setStandardButtons(QMessageBox::Ok);
    exec_modal(box);
}
