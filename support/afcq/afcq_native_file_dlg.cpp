#include "support/afcq/afcq_native_file_dlg.h"

#include <QFileDialog>

QString AFCQ_NATIVE_FILE_DLG::get_existing_directory(const QString& start) const
{
    return QFileDialog::getExistingDirectory(m_parent, {}, start, QFileDialog::ShowDirsOnly);
}
