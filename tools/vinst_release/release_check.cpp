#include "tools/vinst_release/release_check.h"

#include "tools/vinst_release/release_check_elements.h"
#include "tools/vinst_release/release_check_files.h"
#include "tools/vinst_release/release_check_loading.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

RELEASE_CHECK_RESULT check_release(const QString& manifest, const QString& dir,
                                   const RELEASE_FILE_OBSERVER& observer)
{
    QFile file(manifest);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const std::vector<RELEASE_ELEMENT> elements =
        release_elements(QJsonDocument::fromJson(bytes).array());

    RELEASE_FAULTS faults;
    check_loading(manifest, elements, faults);
    RELEASE_CHECK_RESULT result;
    if (!elements.empty())
    {
        check_elements(elements, faults);
        if (!dir.isEmpty())
            result.files_read = check_files(elements, dir, observer, faults);
    }
    for (const RELEASE_ELEMENT& element : elements)
        result.components += element.is_component() ? 1 : 0;
    result.faults = faults.in_order();
    return result;
}
