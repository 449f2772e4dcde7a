#include "install/vinst/gui/vinst_dialog_host.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/gui/vinst_announcer.h"
#include "support/afcq/afcq_native_file_dlg.h"

#include <QApplication>

VINST_DIALOG_HOST VINST_DIALOG_HOST::this_machine()
{
    return {host_platform(),
            has_admin_rights(),
            ::query_volume,
            [](QWidget* parent, const QString& start)
            { return AFCQ_NATIVE_FILE_DLG(parent).get_existing_directory(start); },
            announce_label,
            [](QWidget& window) { QApplication::alert(&window); }};
}
