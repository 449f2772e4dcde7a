#include "tools/vinst_release/release_check_elements.h"

#include "install/vinst/release/vinst_data.h"
#include "tools/vinst_release/release_description.h"
#include "tools/vinst_release/release_relations.h"
#include "tools/vinst_release/release_text.h"

#include <QHash>
#include <QJsonArray>
#include <QRegularExpression>

#include <algorithm>
#include <initializer_list>

namespace
{

bool is_sum(const QString& text, int digits)
{
    static const QRegularExpression other(QStringLiteral("[^0-9a-f]"));
    return text.size() == digits && !text.contains(other);
}

/// The elements that become components, with their relations and positions.
class ELEMENT_CHECK
{
public:
    ELEMENT_CHECK(const std::vector<RELEASE_ELEMENT>& elements, RELEASE_FAULTS& faults)
        : m_elements(elements), m_faults(faults)
    {
        for (const RELEASE_ELEMENT& element : elements)
        {
            if (!element.is_component())
                continue;
            m_components.push_back(&element);
            m_relations.push_back({element.text("name"), element.text("platform"),
                                   element.text("parent"), dependency_names(element),
                                   element.label()});
        }
        m_index = RELEASE_RELATION_INDEX(m_relations);
    }

    void run()
    {
        check_release_elements();
        for (const RELEASE_ELEMENT* component : m_components)
            check_values(*component);
        check_names();
        check_parents();
        check_dependencies();
        check_file_names();
        check_main_products();
        check_selection();
    }

private:
    static QStringList dependency_names(const RELEASE_ELEMENT& element)
    {
        QStringList names;
        const QJsonArray entries = element.object.value("dependency").toArray();
        for (const auto& entry : entries)
            names.append(entry.toString());
        return names;
    }

    void check_release_elements()
    {
        const auto is_release = [](const RELEASE_ELEMENT& element) { return element.is_release(); };
        const auto count = std::count_if(m_elements.begin(), m_elements.end(), is_release);
        if (count == 0)
            m_faults.add(
                QStringLiteral("no element describes the release (\"data_type\": \"main\")"));
        bool first = true;
        for (const RELEASE_ELEMENT& element : m_elements)
        {
            if (!element.is_release())
                continue;
            if (!first)
                m_faults.add(element,
                             QStringLiteral("described again; the last description is used"));
            first = false;
            check_texts(element, {"edition", "version", "download_url", "test_url", "test_md5sum",
                                  "installdir_linux", "installdir_windows"});
            check_sum(element, "test_md5sum", 32);
            for (const char* key : {"download_url", "test_url"})
                check_address(element, key);
            for (const char* key : {"edition", "version"})
                if (element.has(key) && element.text(key).isEmpty())
                    m_faults.add(element, '\'' + QLatin1String(key) + "' is empty");
        }
    }

    void check_address(const RELEASE_ELEMENT& element, const char* key)
    {
        const QString address = element.text(key);
        if (!address.isEmpty() && !address.startsWith("http://") && !address.startsWith("https://"))
            m_faults.add(element, '\'' + QLatin1String(key) +
                                      "' is not an http or https URL: " + quoted(address));
    }

    void check_values(const RELEASE_ELEMENT& component)
    {
        check_texts(component, {"data_type", "name", "platform", "filename", "title", "desc",
                                "md5sum", "sha1sum", "downloadsize_str", "installsize_str",
                                "parent", "cmd_exe", "cmd_options"});
        if (component_kind_from_text(component.text("data_type")) == VINST_COMPONENT_KIND::unknown)
            m_faults.add(component, "unknown 'data_type' " + quoted(component.text("data_type")));
        const QString platform = component.text("platform");
        if (!is_component_platform(platform))
            m_faults.add(component, "unknown 'platform' " + quoted(platform));
        if (component.filename().isEmpty())
            return;
        check_sum(component, "md5sum", 32);
        check_sum(component, "sha1sum", 40);
    }

    void check_texts(const RELEASE_ELEMENT& element, std::initializer_list<const char*> keys)
    {
        for (const char* key : keys)
            if (element.has(key) && !element.object.value(QLatin1String(key)).isString())
                m_faults.add(element, '\'' + QLatin1String(key) + "' is not a string");
    }

    /// A missing checksum is reported by the parser, one that is not a string by `check_texts`.
    void check_sum(const RELEASE_ELEMENT& element, const char* key, int digits)
    {
        if (element.object.value(QLatin1String(key)).isString() &&
            !is_sum(element.text(key), digits))
            m_faults.add(element,
                         '\'' + QLatin1String(key) + "' is not made of " + QString::number(digits) +
                             " lower-case hexadecimal digits: " + quoted(element.text(key)));
    }

    void check_names()
    {
        for (const auto& duplicate : find_duplicates(m_relations))
            m_faults.add(*m_components[duplicate.first],
                         "has the name of element " +
                             QString::number(m_components[duplicate.second]->index + 1) +
                             " on the same platform");
        for (const RELEASE_ELEMENT* component : m_components)
            if (component->object.value("name").isString() && component->text("name").isEmpty())
                m_faults.add(*component, QStringLiteral("'name' is empty"));
    }

    void check_parents()
    {
        for (std::size_t i = 0; i < m_relations.size(); ++i)
        {
            const QString& parent = m_relations[i].parent;
            if (parent.isEmpty())
                continue;
            const auto found = m_index.find(parent, m_relations[i].platform);
            if (!found)
                m_faults.add(*m_components[i], "its parent " + quoted(parent) + " does not exist");
            else if (*found == i)
                m_faults.add(*m_components[i], QStringLiteral("names itself as its parent"));
            else if (*found > i)
                m_faults.add(*m_components[i], "its parent " + quoted(parent) +
                                                   " comes later; parents must come first");
        }
        for (const QString& cycle : parent_cycles(m_relations))
            m_faults.add("parents form a cycle: " + cycle);
    }

    void check_dependencies()
    {
        for (std::size_t i = 0; i < m_relations.size(); ++i)
        {
            const RELEASE_ELEMENT& component = *m_components[i];
            if (component.has("dependency") && !component.object.value("dependency").isArray())
                m_faults.add(component, QStringLiteral("'dependency' is not a list"));
            for (const QString& name : m_relations[i].dependency)
                if (!m_index.find(name, m_relations[i].platform))
                    m_faults.add(component, "its dependency " + quoted(name) + " does not exist");
        }
        for (const QString& cycle : dependency_cycles(m_relations))
            m_faults.add("dependencies form a cycle: " + cycle);
    }

    void check_main_products()
    {
        for (const RELEASE_ELEMENT* component : m_components)
            if (component->text("name") == main_product_name &&
                !is_positive(*component, "standalone"))
                m_faults.add(*component, QStringLiteral("the main product is not standalone"));
    }

    /// Without a selection, a run without --components would do nothing.
    void check_selection()
    {
        for (const char* platform : {"linux", "windows"})
        {
            bool offers_files = false;
            bool selects_any = false;
            for (const RELEASE_ELEMENT* component : m_components)
            {
                const bool is_offered = !component->filename().isEmpty() &&
                                        suits_platform(component->text("platform"), platform) &&
                                        component_kind_from_text(component->text("data_type")) ==
                                            VINST_COMPONENT_KIND::download;
                offers_files = offers_files || is_offered;
                selects_any = selects_any || (is_offered && is_positive(*component, "selected"));
            }
            if (offers_files && !selects_any)
                m_faults.add("no component for " + QLatin1String(platform) +
                             " is selected by default");
        }
    }

    static bool is_positive(const RELEASE_ELEMENT& element, const char* key)
    {
        return element.object.value(QLatin1String(key)).toVariant().toDouble() > 0;
    }

    /// All files have the same base URL, and the server's file system may ignore case.
    void check_file_names()
    {
        // Of components that may share a file, because they are for different platforms.
        QHash<QString, std::vector<const RELEASE_ELEMENT*>> owners;
        for (const RELEASE_ELEMENT* component : m_components)
        {
            const QString filename = component->filename();
            if (filename.isEmpty())
                continue;
            const QString key = filename.toCaseFolded();
            if (key == release_test_file || key == release_manifest_file)
                m_faults.add(*component, "its file has the name of the release's " + quoted(key));
            QString conflict;
            for (const RELEASE_ELEMENT* owner : owners[key])
                if (conflict.isEmpty())
                    conflict = file_conflict(*owner, *component);
            if (conflict.isEmpty())
                owners[key].push_back(component);
            else
                m_faults.add(*component, "its file " + quoted(filename) + conflict);
        }
    }

    /// Why two components must not have files of these names; empty if they may.
    static QString file_conflict(const RELEASE_ELEMENT& owner, const RELEASE_ELEMENT& component)
    {
        if (owner.filename() != component.filename())
            return " differs from the file of " + owner.label() + " only in upper and lower case";
        const QString text = " is also the file of " + owner.label();
        if (!tell_the_same_file(owner, component))
            return text + ", with another size or checksum";
        const QString platform = component.text("platform");
        const bool share_platform = suits_platform(owner.text("platform"), platform) ||
                                    suits_platform(platform, owner.text("platform"));
        return share_platform ? text + " on the same platform" : QString();
    }

    static bool tell_the_same_file(const RELEASE_ELEMENT& a, const RELEASE_ELEMENT& b)
    {
        const auto same = [&](const char* key)
        {
            return a.object.value(QLatin1String(key)).toVariant().toString() ==
                   b.object.value(QLatin1String(key)).toVariant().toString();
        };
        return same("size") && same("md5sum") && same("sha1sum");
    }

    const std::vector<RELEASE_ELEMENT>& m_elements;
    RELEASE_FAULTS& m_faults;
    std::vector<const RELEASE_ELEMENT*> m_components;
    std::vector<RELEASE_RELATION> m_relations;
    RELEASE_RELATION_INDEX m_index;
};

}

void check_elements(const std::vector<RELEASE_ELEMENT>& elements, RELEASE_FAULTS& faults)
{
    ELEMENT_CHECK(elements, faults).run();
}
