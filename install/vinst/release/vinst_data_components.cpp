#include "install/vinst/release/vinst_data_components.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "support/main/main_assert.h"

#include <QSet>

#include <set>

namespace
{

/// An ordered list that contains every component once.
class RESULT_LIST
{
public:
    bool add(VINST_COMPONENT* component)
    {
        if (m_members.contains(component))
            return false;
        m_members.insert(component);
        m_list.push_back(component);
        return true;
    }
    bool contains(VINST_COMPONENT* component) const { return m_members.contains(component); }
    const VINST_COMPONENT_LIST& list() const { return m_list; }

private:
    VINST_COMPONENT_LIST m_list;
    QSet<VINST_COMPONENT*> m_members;
};

/// Adds a dependency or parent if it has a file.
void add_companion(RESULT_LIST& result, VINST_COMPONENT* companion, const char* log_format)
{
    if (!companion->filename.isEmpty() && result.add(companion))
        run_log().info(log_format, companion->log_name());
}

void add_with_companions(RESULT_LIST& result, VINST_COMPONENT* component)
{
    if (!result.add(component))
        return;
    for (VINST_COMPONENT* dependency : component->dependencies)
        add_companion(result, dependency, "Add dependent component: %s\n");
    if (component->parent != nullptr)
        add_companion(result, component->parent, "Add parent component: %s\n");
}

bool is_offered(const VINST_COMPONENT& component)
{
    if (component.filename.isEmpty())
        return component.is_simulator();
    const bool loose_archive = component.is_device_archive() && !component.in_device_group;
    return !loose_archive && component.name != "morlan";
}

}

VINST_COMPONENT_LIST components_of_kind(const VINST_RELEASE& release, VINST_COMPONENT_KIND kind,
                                        const QString& platform)
{
    MAIN_ASSERT(platform == "linux" || platform == "windows");
    VINST_COMPONENT_LIST result;
    for (const auto& component : release.components())
        if (component->kind == kind && suits_platform(component->platform, platform))
            result.push_back(component.get());
    return result;
}

VINST_COMPONENT_LIST selected_components(const VINST_RELEASE& release, VINST_COMPONENT_KIND kind,
                                         const QString& platform)
{
    VINST_COMPONENT_LIST result;
    for (VINST_COMPONENT* component : components_of_kind(release, kind, platform))
    {
        const bool has_file =
            kind != VINST_COMPONENT_KIND::download || !component->filename.isEmpty();
        if (component->is_selected() && has_file)
            result.push_back(component);
    }
    return result;
}

QStringList selectable_names(const VINST_RELEASE& release, const QString& platform)
{
    QStringList names{main_product_short_name};
    for (const VINST_COMPONENT* component :
         components_of_kind(release, VINST_COMPONENT_KIND::download, platform))
        names.append(component->name);
    return names;
}

VINST_COMPONENT_LIST resolve_components(VINST_RELEASE& release, const QString& text,
                                        const QString& platform, bool& all_valid)
{
    if (text.isEmpty())
        return selected_components(release, VINST_COMPONENT_KIND::download, platform);

    RESULT_LIST result;
    for (const QString& written : text.split(','))
    {
        const QString& name = written == main_product_short_name ? main_product_name : written;
        if (VINST_COMPONENT* component = release.find_component(name, platform))
        {
            add_with_companions(result, component);
            continue;
        }
        run_log().error("Component: %s is invalid\n", utf8(without_control_characters(name)));
        all_valid = false;
    }
    for (VINST_COMPONENT* component :
         components_of_kind(release, VINST_COMPONENT_KIND::download, platform))
        component->selection =
            result.contains(component) ? VINST_SELECTION::selected : VINST_SELECTION::not_selected;
    return result.list();
}

VINST_COMPONENT_LIST missing_dependencies(const VINST_RELEASE& release, const QString& platform)
{
    std::set<const VINST_COMPONENT*> missing;
    VINST_COMPONENT_LIST open =
        selected_components(release, VINST_COMPONENT_KIND::download, platform);
    while (!open.empty())
    {
        const VINST_COMPONENT* component = open.back();
        open.pop_back();
        for (VINST_COMPONENT* needed : component->dependencies)
            if (!needed->filename.isEmpty() && !needed->is_selected() &&
                missing.insert(needed).second)
                open.push_back(needed);
    }
    VINST_COMPONENT_LIST in_order;
    for (VINST_COMPONENT* component :
         components_of_kind(release, VINST_COMPONENT_KIND::download, platform))
    {
        if (missing.count(component) == 0)
            continue;
        run_log().info("Add dependent component: %s\n", component->log_name());
        in_order.push_back(component);
    }
    return in_order;
}

QString components_help(const VINST_RELEASE& release, const QString& platform)
{
    QStringList components;
    QStringList devices;
    QStringList optional;
    for (const VINST_COMPONENT* component :
         components_of_kind(release, VINST_COMPONENT_KIND::download, platform))
    {
        if (!is_offered(*component))
            continue;
        const QString name = without_control_characters(component->name);
        if (!component->is_selected())
            optional.append(name);
        else if (component->in_device_group)
            devices.append(name);
        else
            components.append(component->is_main_product() ? main_product_short_name : name);
    }
    return "Specify the components to download/install in comma-separated values\n"
           "Default components: " +
           components.join(',') + "\nDefault devices: " + devices.join(',') +
           "\nOptional components: " + optional.join(',');
}
