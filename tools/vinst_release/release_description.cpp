#include "tools/vinst_release/release_description.h"

#include "install/vinst/base/vinst_platform.h"
#include "tools/vinst_release/release_json.h"
#include "tools/vinst_release/release_relations.h"
#include "tools/vinst_release/release_text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <utility>

const char* const release_test_file = "vinst_test_download.txt";
const char* const release_manifest_file = "manifest.json";

namespace
{

const QStringList release_keys = {"edition",   "version",          "download_url",
                                  "test_url",  "installdir_linux", "installdir_windows",
                                  "components"};
const QStringList component_keys = {
    "kind",       "name",     "platform",   "file",  "title",       "desc",    "parent",
    "dependency", "selected", "standalone", "addon", "installsize", "cmd_exe", "cmd_options"};

class DESCRIPTION_READER
{
public:
    DESCRIPTION_READER(const QString& path, QStringList& faults)
        : m_dir(QFileInfo(path).absoluteDir()), m_faults(faults)
    {
    }

    RELEASE_DESCRIPTION read(const QJsonObject& object)
    {
        const RELEASE_JSON_OBJECT json(object, QStringLiteral("release"), m_faults);
        json.refuse_unknown_keys(release_keys);
        RELEASE_DESCRIPTION release;
        release.edition = json.required_text("edition");
        release.version = json.required_text("version");
        release.download_url = read_address(json, "download_url");
        release.test_url = read_address(json, "test_url");
        release.installdir_linux = json.text("installdir_linux");
        release.installdir_windows = json.text("installdir_windows");
        read_components(json, release);
        refuse_clashing_files(release);
        put_relations_in_order(release);
        return release;
    }

private:
    QString read_address(const RELEASE_JSON_OBJECT& json, const char* key)
    {
        QString address = json.text(key);
        if (!address.isEmpty() && !address.startsWith("http://") && !address.startsWith("https://"))
            json.refuse(key, "must begin with http:// or https://");
        while (address.endsWith('/'))
            address.chop(1);
        return address;
    }

    void read_components(const RELEASE_JSON_OBJECT& json, RELEASE_DESCRIPTION& release)
    {
        const QJsonValue value = json.value("components");
        if (!value.isArray() || value.toArray().isEmpty())
        {
            json.refuse("components", "must be a list of at least one component");
            return;
        }
        int number = 0;
        const QJsonArray entries = value.toArray();
        for (const auto& entry : entries)
        {
            ++number;
            const QString place = "component " + QString::number(number);
            if (entry.isObject())
                read_component(entry.toObject(), place, release);
            else
                m_faults.append(place + " must be an object");
        }
    }

    /// One component per platform of the entry.
    void read_component(const QJsonObject& object, const QString& place,
                        RELEASE_DESCRIPTION& release)
    {
        const QString name = object.value("name").toString();
        const RELEASE_JSON_OBJECT json(object, name.isEmpty() ? place : "component " + quoted(name),
                                       m_faults);
        json.refuse_unknown_keys(component_keys);
        RELEASE_DESCRIPTION_COMPONENT component;
        component.name = json.required_text("name");
        if (component.name.contains(','))
            json.refuse("name", "must not contain a comma, because names are separated by commas");
        component.kind = read_kind(json);
        component.title = json.text("title", component.name);
        component.desc = json.text("desc");
        component.parent = json.text("parent");
        component.dependency = json.texts("dependency");
        component.selected = json.flag("selected");
        component.standalone = json.flag("standalone");
        component.addon = json.flag("addon");
        component.installsize = json.byte_count_or_auto("installsize");
        component.cmd_exe = json.text("cmd_exe");
        component.cmd_options = json.text("cmd_options");
        for (const QString& platform : read_platforms(json))
        {
            component.platform = platform;
            component.file = read_file(json, platform);
            release.components.push_back(component);
        }
        refuse_files_of_other_platforms(json);
    }

    static QString read_kind(const RELEASE_JSON_OBJECT& json)
    {
        const QString kind = json.text("kind", QStringLiteral("download"));
        if (kind != "download" && kind != "install")
            json.refuse("kind", "must be \"download\" or \"install\", not " + quoted(kind));
        return kind;
    }

    static QStringList read_platforms(const RELEASE_JSON_OBJECT& json)
    {
        const QStringList platforms = json.value("platform").isArray()
                                          ? json.texts("platform")
                                          : QStringList{json.required_text("platform")};
        if (platforms.isEmpty())
            json.refuse("platform", "must name a platform");
        for (const QString& platform : platforms)
            if (!is_component_platform(platform))
                json.refuse("platform",
                            "must be \"linux\" or \"windows\", not " + quoted(platform));
        return platforms;
    }

    QString read_file(const RELEASE_JSON_OBJECT& json, const QString& platform)
    {
        const QJsonValue value = json.value("file");
        const QString relative =
            value.isObject() ? value.toObject().value(platform).toString() : json.text("file");
        if (relative.isEmpty())
            return {};
        const QString path = QDir::cleanPath(m_dir.absoluteFilePath(relative));
        const QFileInfo info(path);
        if (!info.exists())
            json.refuse("file", "does not exist: " + quoted(path));
        else if (!info.isFile())
            json.refuse("file", "is not a file: " + quoted(path));
        else if (!is_safe_file_name(info.fileName()))
            json.refuse("file", "has a name that is not valid on every platform: " +
                                    quoted(info.fileName()));
        return path;
    }

    static void refuse_files_of_other_platforms(const RELEASE_JSON_OBJECT& json)
    {
        const QJsonObject files = json.value("file").toObject();
        const QStringList platforms = json.value("platform").isArray()
                                          ? json.value("platform").toVariant().toStringList()
                                          : QStringList{json.value("platform").toString()};
        for (auto file = files.begin(); file != files.end(); ++file)
            if (!platforms.contains(file.key()))
                json.refuse("file", "is given for " + quoted(file.key()) +
                                        ", which 'platform' does not name");
            else if (!file.value().isString())
                json.refuse("file", "must be a string for " + quoted(file.key()));
    }

    /// All files of a release are in one directory, whose file system may ignore case.
    void refuse_clashing_files(const RELEASE_DESCRIPTION& release)
    {
        QHash<QString, const RELEASE_DESCRIPTION_COMPONENT*> owners;
        for (const RELEASE_DESCRIPTION_COMPONENT& component : release.components)
        {
            if (component.file.isEmpty())
                continue;
            const QString key = component.filename().toCaseFolded();
            if (key == release_test_file || key == release_manifest_file)
                m_faults.append(component.label() + ": the name " + quoted(component.filename()) +
                                " is reserved for the release");
            const auto* owner = owners.value(key);
            if (owner == nullptr)
                owners.insert(key, &component);
            else if (owner->file != component.file)
                m_faults.append(component.label() + ": its file would replace " + owner->label() +
                                "'s in the release: " + quoted(component.file) + " and " +
                                quoted(owner->file));
        }
    }

    void put_relations_in_order(RELEASE_DESCRIPTION& release)
    {
        std::vector<RELEASE_RELATION> relations;
        for (const RELEASE_DESCRIPTION_COMPONENT& component : release.components)
            relations.push_back({component.name, component.platform, component.parent,
                                 component.dependency, component.label()});
        const std::optional<std::vector<std::size_t>> order =
            order_by_relations(relations, m_faults);
        if (!order)
            return;
        std::vector<RELEASE_DESCRIPTION_COMPONENT> ordered;
        ordered.reserve(order->size());
        for (const std::size_t index : *order)
            ordered.push_back(std::move(release.components[index]));
        release.components = std::move(ordered);
    }

    const QDir m_dir;
    QStringList& m_faults;
};

}

QString RELEASE_DESCRIPTION_COMPONENT::filename() const
{
    return file.isEmpty() ? QString() : QFileInfo(file).fileName();
}

QString RELEASE_DESCRIPTION_COMPONENT::label() const
{
    return "component " + quoted(name) + " (" + platform + ')';
}

std::optional<RELEASE_DESCRIPTION> read_release_description(const QString& path,
                                                            QStringList& faults)
{
    const std::optional<QJsonObject> object = read_json_object(path, faults);
    if (!object)
        return std::nullopt;
    RELEASE_DESCRIPTION release = DESCRIPTION_READER(path, faults).read(*object);
    return faults.isEmpty() ? std::optional(std::move(release)) : std::nullopt;
}
