#include "support/afcq/afcq_native_file_dlg.h"

#include <QFileDialog>

#include <utility>

namespace
{

AFCQ_NATIVE_FILE_DLG::ANSWER& answer_in_its_place()
{
    static AFCQ_NATIVE_FILE_DLG::ANSWER answer;
    return answer;
}

}

QString AFCQ_NATIVE_FILE_DLG::get_existing_directory(const QString& start) const
{
    if (answer_in_its_place())
        return answer_in_its_place()(start);
    return QFileDialog::getExistingDirectory(m_parent, {}, start, QFileDialog::ShowDirsOnly);
}

void AFCQ_NATIVE_FILE_DLG::answer_with(ANSWER answer)
{
    answer_in_its_place() = std::move(answer);
}
