#include "install/vinst/release/vinst_data_install.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data_components.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace
{

const QString edition_prefix = QStringLiteral("morlan_f");

QString installdir_part(const VINST_RELEASE& release)
{
    return " --installdir " + command_part(release.install_dir());
}

/// " --enable-components a,b", or nothing for an empty list.
QString names_part(const QString& option, const QStringList& names)
{
    return names.isEmpty() ? QString() : option + command_part(names.join(','));
}

QString enable_part(const QStringList& names)
{
    return names_part(QStringLiteral(" --enable-components "), names);
}

QString disable_part(const QStringList& names)
{
    return names_part(QStringLiteral(" --disable-components "), names);
}

/// What makes an installer run without asking anything.
QString option_part(const VINST_COMPONENT& component, bool is_main_product, const QString& platform)
{
    QString options = QStringLiteral(" --mode unattended");
    options += component.release->unattended_ui != 0 ? " --unattendedmodeui minimal"
                                                     : " --unattendedmodeui none";
    if (component.name != "flexlm")
        options += " --accept_eula 1 ";
    if (platform == "windows" && is_main_product)
        options += " --skip_checksum 1 ";
    return options;
}

/// The device installer, which the main product's installer has laid down, and one archive for it.
QString device_command(VINST_COMPONENT& component, const QString& options)
{
    VINST_RELEASE& release = *component.release;
    const QString installer = release.install_dir() + QDir::separator() +
                              "devices/dev_install/dev_install" +
                              installer_suffix(component.platform);
    if (!QFileInfo(installer).isFile())
        return {};
    // A device of the same name for the other platform is this device as far as the name goes.
    QStringList others;
    for (const auto& other : release.components())
        if (other->kind == VINST_COMPONENT_KIND::download && other->name != component.name &&
            other->is_device_group_member())
            others.append(other->name);
    return command_part(installer) + options + " --downloaddir " +
           command_part(release.ensure_download_dir()) + installdir_part(release) + ' ' +
           enable_part({component.name}) + disable_part(others);
}

/// Whether the main product's installer is told to install a part, or to leave it out.
bool takes_part(const VINST_COMPONENT& part)
{
    if (part.is_device_archive() && !part.is_device_group_member())
        return false;
    return part.is_simulator() ? part.name.startsWith(edition_prefix) : !part.filename.isEmpty();
}

QString parts_of_main_product(const VINST_COMPONENT& main_product, const QString& platform)
{
    QStringList enabled;
    QStringList disabled;
    for (const VINST_COMPONENT* part :
         components_of_kind(*main_product.release, VINST_COMPONENT_KIND::download, platform))
    {
        if (part == &main_product)
            continue;
        if (part->standalone)
            disabled.append(part->name);
        else if (takes_part(*part))
            (has_local_file(*part) ? enabled : disabled).append(part->name);
    }
    return enable_part(enabled) + disable_part(disabled);
}

/// Whoever runs the installer by hand hasn't been asked about shortcuts.
QString shortcut_options(const VINST_RELEASE& release, const QString& platform, bool unattended)
{
    for (const VINST_COMPONENT* action :
         components_of_kind(release, VINST_COMPONENT_KIND::install, platform))
        if (action->name == "desktop_shortcuts")
            return action->skip != 0 && unattended ? QString() : ' ' + action->cmd_options;
    return {};
}

}

bool has_local_file(const VINST_COMPONENT& component)
{
    return !component.filename.isEmpty() && QFileInfo(component.local_file_path()).isFile();
}

bool has_verified_file(const VINST_COMPONENT& component)
{
    return component.verified_file &&
           component.verified_file == FIO_FILE_SYSTEM::identity(utf8(component.local_file_path()));
}

void make_installer_executable(const VINST_COMPONENT& component)
{
    const QString path = component.local_file_path();
    if (path.endsWith(".run"))
        FIO_FILE_SYSTEM::chmod(utf8(path), 0700);
}

QString build_install_command(VINST_COMPONENT& component, const QString& main_product,
                              bool unattended, const QString& platform)
{
    const bool all_dependencies_present =
        std::all_of(component.dependencies.begin(), component.dependencies.end(),
                    [](const VINST_COMPONENT* dependency)
                    { return dependency->filename.isEmpty() || has_local_file(*dependency); });
    if (!has_local_file(component) || !all_dependencies_present)
        return {};

    const QString own_platform = is_platform(component.platform) ? component.platform : platform;
    const VINST_RELEASE& release = *component.release;
    const VINST_COMPONENT* main_component = release.find_component(main_product, own_platform);
    if (!component.standalone && main_component != nullptr && main_component->is_selected() &&
        has_local_file(*main_component))
        return {};

    const bool is_main_product = component.name == main_product;
    const QString options = option_part(component, is_main_product, platform);
    const QString own_installer = command_part(component.local_file_path()) +
                                  (unattended ? options : QString()) + installdir_part(release);
    if (is_main_product)
        return own_installer + parts_of_main_product(component, own_platform) +
               shortcut_options(release, own_platform, unattended);
    if (component.is_device_group_member())
        return device_command(component, options);
    if (component.is_device_archive())
        return {};
    if (!component.is_simulator())
        return own_installer;
    return component.name.startsWith(edition_prefix)
               ? own_installer + " --morlan_edition " + command_part(component.name)
               : QString();
}

const VINST_COMPONENT* owner_of_action(const VINST_COMPONENT& action, const QString& platform)
{
    return action.parent != nullptr ? action.parent
                                    : action.release->find_component(main_product_name, platform);
}

QString build_action_command(const VINST_COMPONENT& action, const QString& platform)
{
    const VINST_COMPONENT* owner = owner_of_action(action, platform);
    const bool is_wanted = action.skip == 0 && (owner == nullptr || owner->is_selected());
    if (action.cmd_exe.isEmpty() || !is_wanted)
        return {};
    const QString program =
        QDir::toNativeSeparators(action.release->install_dir() + '/' + action.cmd_exe);
    const QString options = action.cmd_options.isEmpty() ? QString() : ' ' + action.cmd_options;
    return command_part(program) + options;
}
