#include "tools/vinst_release/release_manifest.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{

/// Optional keys without a value are left out.
void set_if_told(QJsonObject& object, const QString& key, const QString& text)
{
    if (!text.isEmpty())
        object[key] = text;
}

void set_if_true(QJsonObject& object, const QString& key, bool flag)
{
    if (flag)
        object[key] = 1;
}

/// Where the program fetches the release's files.
QString download_address(const RELEASE_DESCRIPTION& release)
{
    VINST_RELEASE loaded;
    loaded.set_version(release.version);
    loaded.manifest_download_url = release.download_url;
    return loaded.download_url();
}

QJsonObject release_element(const RELEASE_DESCRIPTION& release, const QByteArray& test_md5)
{
    QJsonObject object{
        {"data_type", "main"}, {"edition", release.edition}, {"version", release.version}};
    set_if_told(object, "download_url", release.download_url);
    object["test_url"] = release.test_url.isEmpty()
                             ? download_address(release) + '/' + release_test_file
                             : release.test_url;
    object["test_md5sum"] = QString::fromLatin1(test_md5);
    set_if_told(object, "installdir_linux", release.installdir_linux);
    set_if_told(object, "installdir_windows", release.installdir_windows);
    return object;
}

void add_file(QJsonObject& object, const RELEASE_FILE_SUMS& sums)
{
    object["size"] = static_cast<qint64>(sums.size);
    object["downloadsize_str"] = readable_size(sums.size);
    object["md5sum"] = QString::fromLatin1(sums.md5);
    object["sha1sum"] = QString::fromLatin1(sums.sha1);
}

QJsonObject component_element(const RELEASE_DESCRIPTION_COMPONENT& component,
                              const QHash<QString, RELEASE_FILE_SUMS>& sums)
{
    const QString filename = component.filename();
    QJsonObject object{{"data_type", component.kind},
                       {"name", component.name},
                       {"platform", component.platform},
                       {"title", component.title},
                       {"desc", component.desc},
                       {"filename", filename},
                       {"selected", component.selected ? 1 : 0}};
    const RELEASE_FILE_SUMS own_sums = sums.value(filename);
    if (!filename.isEmpty())
        add_file(object, own_sums);
    const quint64 installsize = component.installsize.value_or(own_sums.size);
    object["installsize"] = static_cast<qint64>(installsize);
    object["installsize_str"] = readable_size(installsize);
    set_if_told(object, "parent", component.parent);
    if (!component.dependency.isEmpty())
        object["dependency"] = QJsonArray::fromStringList(component.dependency);
    set_if_true(object, "standalone", component.standalone);
    set_if_true(object, "addon", component.addon);
    set_if_told(object, "cmd_exe", component.cmd_exe);
    set_if_told(object, "cmd_options", component.cmd_options);
    return object;
}

}

QByteArray manifest_text(const RELEASE_DESCRIPTION& release,
                         const QHash<QString, RELEASE_FILE_SUMS>& sums, const QByteArray& test_md5)
{
    QJsonArray elements{release_element(release, test_md5)};
    for (const RELEASE_DESCRIPTION_COMPONENT& component : release.components)
        elements.append(component_element(component, sums));
    return QJsonDocument(elements).toJson();
}
