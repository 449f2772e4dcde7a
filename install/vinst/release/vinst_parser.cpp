#include "install/vinst/release/vinst_parser.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace
{

constexpr int longest_element_in_message = 1024; // bytes

QByteArray shown(const QString& name)
{
    return without_control_characters(name).toUtf8();
}

std::optional<double> to_double(const QJsonValue& value)
{
    if (!value.isDouble() && !value.isString())
        return std::nullopt;
    bool ok = false;
    const double number = value.toVariant().toDouble(&ok);
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<qint64> to_int64(const QJsonValue& value)
{
    if (!value.isDouble() && !value.isString())
        return std::nullopt;
    // Converting an out-of-range double would yield an arbitrary number.
    if (value.isDouble() && std::fabs(value.toDouble()) >= 9223372036854775808.0)
        return std::nullopt;
    bool ok = false;
    const qint64 number = value.toVariant().toLongLong(&ok);
    return ok ? std::optional(number) : std::nullopt;
}

std::optional<qint32> to_int32(const QJsonValue& value)
{
    const std::optional<qint64> number = to_int64(value);
    if (!number || *number < std::numeric_limits<qint32>::min() ||
        *number > std::numeric_limits<qint32>::max())
        return std::nullopt;
    return static_cast<qint32>(*number);
}

/// One element of the manifest, with the messages about its faults.
class ELEMENT
{
public:
    ELEMENT(const QJsonValue& value, const VINST_MANIFEST_SINK& sink)
        : m_object(value.toObject()), m_value(value), m_sink(sink)
    {
    }

    bool has(const char* key) const { return m_object.contains(QLatin1String(key)); }
    QJsonValue value(const char* key) const { return m_object.value(QLatin1String(key)); }
    QString text(const char* key) const { return value(key).toString(); }

    void say_missing(const char* key) const { say(key, "is missing in the manifest data"); }
    void say_unsupported(const char* key) const { say(key, "is not in the supported format"); }
    void say_unsafe(const char* key) const { say(key, "is not safe"); }
    void say_line(const QByteArray& line) const { m_sink(line); }

    /// The text of a key; its absence is reported if `asked_for`.
    QString expected_text(const char* key, bool asked_for = true) const
    {
        if (!has(key) && asked_for)
            say_missing(key);
        return text(key);
    }

    /// A number that means true when greater than 0.
    bool is_positive(const char* key) const
    {
        const std::optional<qint32> number = to_int32(value(key));
        if (!number)
            say_unsupported(key);
        return number.value_or(0) > 0;
    }

private:
    void say(const char* key, const char* fault) const
    {
        m_sink('\'' + QByteArray(key) + "' " + fault + ": " + compact_text() + '\n');
    }

    /// Created only when needed, because most elements have no faults.
    QByteArray compact_text() const
    {
        const QByteArray array = QJsonDocument(QJsonArray{m_value}).toJson(QJsonDocument::Compact);
        return shown(QString::fromUtf8(array.mid(1, array.size() - 2)))
            .left(longest_element_in_message);
    }

    const QJsonObject m_object;
    const QJsonValue m_value;
    const VINST_MANIFEST_SINK& m_sink;
};

/// Builds the release element by element.
class LOADER
{
public:
    explicit LOADER(const VINST_MANIFEST_SINK& sink) : m_sink(sink) {}

    std::unique_ptr<VINST_RELEASE> load(const QJsonArray& elements)
    {
        for (const QJsonValue value : elements)
            if (!load_element(ELEMENT(value, m_sink)))
                return nullptr;
        resolve_deferred_dependencies();
        return std::move(m_release);
    }

private:
    bool load_element(const ELEMENT& element)
    {
        if (!element.has("data_type"))
        {
            element.say_missing("data_type");
            return false;
        }
        return element.text("data_type") == "main" ? load_release(element)
                                                   : load_component(element);
    }

    bool load_release(const ELEMENT& element)
    {
        for (const char* key : {"edition", "version"})
        {
            if (element.has(key))
                continue;
            element.say_missing(key);
            return false;
        }
        m_release->edition = element.text("edition");
        m_release->set_version(element.text("version"));
        if (element.has("download_url"))
            m_release->manifest_download_url = element.text("download_url");
        if (element.has("test_url"))
        {
            if (!element.has("test_md5sum"))
            {
                element.say_missing("test_md5sum");
                return false;
            }
            m_release->set_test_file(element.text("test_url"), element.text("test_md5sum"));
        }
        if (element.has("installdir_linux"))
            m_release->installdir_linux = element.text("installdir_linux")
                                              .replace("${user_home_directory}", QDir::homePath());
        if (element.has("installdir_windows"))
            m_release->installdir_windows = element.text("installdir_windows");
        return true;
    }

    bool load_component(const ELEMENT& element)
    {
        if (!element.has("name"))
        {
            element.say_missing("name");
            return false;
        }
        VINST_COMPONENT* component = m_release->add_component();
        component->kind = component_kind_from_text(element.text("data_type"));
        component->name = element.text("name");
        component->platform = element.expected_text("platform");
        m_release->index_component(component);
        load_file(element, *component);
        load_relations(element, component);
        load_switches(element, *component);
        component->cmd_exe = element.text("cmd_exe");
        component->cmd_options = element.text("cmd_options");
        return true;
    }

    void load_file(const ELEMENT& element, VINST_COMPONENT& component)
    {
        component.filename = element.expected_text("filename");
        if (!component.filename.isEmpty() &&
            (!is_safe_file_name(component.filename) || differs_in_case_alone(component.filename)))
        {
            element.say_unsafe("filename");
            component.filename.clear();
        }
        const bool has_file = !component.filename.isEmpty();
        component.title = element.expected_text("title");
        component.desc = element.expected_text("desc", has_file);
        component.md5sum = element.expected_text("md5sum", has_file);
        component.sha1sum = element.expected_text("sha1sum", has_file);
        load_number(element, "size", has_file, component.size, to_int64);
        component.downloadsize_str = element.expected_text("downloadsize_str", has_file);
        load_number(element, "installsize", has_file, component.installsize, to_double);
        component.installsize_str = element.expected_text("installsize_str", has_file);
    }

    /// Whether an earlier element has the name in different case: on Windows both would be the same
    /// file.
    bool differs_in_case_alone(const QString& filename)
    {
        QString& spelling = m_spellings[filename.toCaseFolded()];
        if (spelling.isEmpty())
            spelling = filename;
        return spelling != filename;
    }

    /// Stores a size, which is never negative.
    template <typename NUMBER>
    static void load_number(const ELEMENT& element, const char* key, bool asked_for, NUMBER& target,
                            std::optional<NUMBER> (*convert)(const QJsonValue&))
    {
        if (!element.has(key))
        {
            if (asked_for)
                element.say_missing(key);
            return;
        }
        const std::optional<NUMBER> number = convert(element.value(key));
        if (number && *number >= 0)
            target = *number;
        else
            element.say_unsupported(key);
    }

    void load_relations(const ELEMENT& element, VINST_COMPONENT* component)
    {
        const QString parent_name = element.text("parent");
        if (!parent_name.isEmpty())
        {
            VINST_COMPONENT* parent = find(parent_name, *component);
            if (parent != nullptr && parent != component)
                component->set_parent(*parent);
            else
                element.say_line("Parent component: " + shown(parent_name) +
                                 " does not exist in the manifest data\n");
        }
        for (const QJsonValue entry : element.value("dependency").toArray())
        {
            const QString name = entry.toString();
            if (VINST_COMPONENT* dependency = find(name, *component))
                component->dependencies.push_back(dependency);
            else
                m_deferred.emplace_back(component, name);
        }
    }

    void load_switches(const ELEMENT& element, VINST_COMPONENT& component)
    {
        if (element.has("selected"))
            component.selection = element.is_positive("selected") ? VINST_SELECTION::selected
                                                                  : VINST_SELECTION::not_selected;
        else
            element.say_missing("selected");
        if (element.has("standalone"))
            component.standalone = element.is_positive("standalone");
        if (element.has("addon"))
            component.addon = element.is_positive("addon");
    }

    void resolve_deferred_dependencies()
    {
        for (const auto& [component, name] : m_deferred)
        {
            if (VINST_COMPONENT* dependency = find(name, *component))
                component->dependencies.push_back(dependency);
            else
                m_sink("Dependency component: " + shown(name) +
                       " does not exist in the manifest data\n");
        }
    }

    /// A component for the platform of `relative`; null for an unknown platform.
    VINST_COMPONENT* find(const QString& name, const VINST_COMPONENT& relative) const
    {
        return is_component_platform(relative.platform)
                   ? m_release->find_component(name, relative.platform)
                   : nullptr;
    }

    const VINST_MANIFEST_SINK& m_sink;
    std::unique_ptr<VINST_RELEASE> m_release = std::make_unique<VINST_RELEASE>();
    QHash<QString, QString> m_spellings; ///< of file names, by their case-folded form
    /// Dependencies on components that no earlier element defines, in manifest order.
    std::vector<std::pair<VINST_COMPONENT*, QString>> m_deferred;
};

}

std::unique_ptr<VINST_RELEASE> parse_manifest(const QString& path, const VINST_MANIFEST_SINK& sink)
{
    const QByteArray shown_path = path.toUtf8();
    if (!QFileInfo::exists(path))
    {
        sink("Manifest file " + shown_path + " does not exist\n");
        return nullptr;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
    {
        sink("Cannot open manifest file: " + shown_path + "\n");
        return nullptr;
    }
    const QJsonArray elements = QJsonDocument::fromJson(file.readAll()).array();
    if (elements.isEmpty())
    {
        sink("Manifest file " + shown_path + " is not in the supported format\n");
        return nullptr;
    }
    std::unique_ptr<VINST_RELEASE> release = LOADER(sink).load(elements);
    if (release != nullptr)
        release->manifest_path = QFileInfo(path).absoluteFilePath();
    return release;
}

QString locate_manifest(const QString& application_dir, const QString& named,
                        const QString& platform)
{
    const QString first = !named.isEmpty() ? named : application_dir + "/manifest.json";
    if (QFileInfo::exists(first))
        return first;
    QString in_source_tree =
        application_dir + "/../../ib_installers/manifest_files/manifest_" + platform + "_pro.json";
    if (QFileInfo::exists(in_source_tree))
        return in_source_tree;
    return in_source_tree.replace("_pro", "_standard");
}

std::unique_ptr<VINST_RELEASE> find_manifest_file(const VINST_MANIFEST_SINK& sink)
{
    return parse_manifest(locate_manifest(QCoreApplication::applicationDirPath(),
                                          qEnvironmentVariable("vinst_manifest"), host_platform()),
                          sink);
}
