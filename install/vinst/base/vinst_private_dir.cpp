#include "install/vinst/base/vinst_private_dir.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "support/fio/fio_file_system.h"

#include <QDir>

VINST_PRIVATE_DIR::VINST_PRIVATE_DIR(const QString& parent)
    : m_path(FIO_FILE_SYSTEM::get_tmp_path(utf8(parent))),
      m_was_created(FIO_FILE_SYSTEM::create_private_directory(m_path))
{
    if (!m_was_created)
        run_log().info("Cannot create the directory %s", m_path);
}

VINST_PRIVATE_DIR::~VINST_PRIVATE_DIR()
{
    // What is at the path otherwise is not ours to remove.
    if (m_was_created)
        QDir(QString::fromStdString(m_path)).removeRecursively();
}
