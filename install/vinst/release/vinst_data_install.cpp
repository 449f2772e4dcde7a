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

const QString main_not_standalone =
    QStringLiteral("the manifest does not mark the main product as standalone");
const QString left_to_main_product =
    QStringLiteral("it is installed by the main product's installer, which was not run");

bool is_edition(const QString& name)
{
    return name.startsWith(edition_prefix);
}

/// A path for messages. Its last part may come from the manifest.
QString shown_path(const QString& path)
{
    return without_control_characters(QDir::toNativeSeparators(path));
}

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

/// The options that make an installer run unattended.
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

/// Packages of the Windows Installer are no programs.
bool is_msi_package(const VINST_COMPONENT& component, const QString& platform)
{
    return platform == "windows" &&
           component.file_carrier()->filename.endsWith(".msi", Qt::CaseInsensitive);
}

/// Named with its directory, so that none is taken from the current one.
QString msi_service()
{
    return qEnvironmentVariable("SystemRoot", QStringLiteral("C:\\Windows")) +
           "\\System32\\msiexec.exe";
}

QString msi_command(const VINST_COMPONENT& component, bool unattended)
{
    const VINST_RELEASE& release = *component.release;
    return command_part(msi_service()) + " /i " +
           command_part(QDir::toNativeSeparators(component.file_carrier()->file.path())) +
           (unattended ? " /qn" : "") + " /norestart " +
           command_part("INSTALLDIR=" + QDir::toNativeSeparators(release.install_dir()));
}

VINST_INSTALL_STEP no_command(const QString& reason)
{
    return {{}, reason, {}, false};
}

/// The reason if a file that the installer needs is missing; otherwise empty.
QString missing_file_reason(const VINST_COMPONENT& component)
{
    const VINST_COMPONENT* const carrier = component.file_carrier();
    if (carrier == nullptr)
        return QStringLiteral("it has no file to install");
    if (!carrier->file.exists())
        return "its file is missing (" + shown_path(carrier->file.path()) + ')';
    QStringList missing;
    for (const VINST_COMPONENT* dependency : component.dependencies)
        if (!dependency->filename.isEmpty() && !dependency->file.exists())
            missing.append(dependency->display_name());
    if (missing.isEmpty())
        return {};
    return missing.size() == 1
               ? "its dependency " + missing.first() + " has not been downloaded"
               : "its dependencies " + missing.join(", ") + " have not been downloaded";
}

/// The reason if there is no installer for a component of this kind; otherwise empty.
QString missing_installer_reason(const VINST_COMPONENT& component, const QString& main_product)
{
    if (component.name == main_product || component.in_device_group)
        return {};
    if (component.is_device_archive())
        return QStringLiteral("it has no separate installer, because it is a device archive "
                              "outside the device group");
    if (component.is_simulator() && !is_edition(component.name))
        return QStringLiteral("it is installed with a simulator edition, and none was installed");
    return {};
}

/// Runs the device installer, which was installed by the main product's installer, for one archive.
VINST_INSTALL_STEP device_step(VINST_COMPONENT& component, const QString& options)
{
    VINST_RELEASE& release = *component.release;
    const QString installer = release.install_dir() + QDir::separator() +
                              "devices/dev_install/dev_install" +
                              installer_suffix(component.platform);
    if (!QFileInfo(installer).isFile())
        return {{},
                "its device installer was not in the install directory (" + shown_path(installer) +
                    ')',
                {},
                true};
    // A device with the same name for the other platform must not be disabled.
    QStringList others;
    for (const auto& other : release.components())
        if (other->kind == VINST_COMPONENT_KIND::download && other->name != component.name &&
            other->in_device_group)
            others.append(other->name);
    return {command_part(installer) + options + " --downloaddir " +
                command_part(release.ensure_download_dir()) + installdir_part(release) + ' ' +
                enable_part({component.name}) + disable_part(others),
            {},
            {},
            false};
}

/// Whether the main product's installer is given an option to install a part or to leave it out.
bool takes_part(const VINST_COMPONENT& part)
{
    if (part.is_device_archive() && !part.in_device_group)
        return false;
    return part.is_simulator() ? is_edition(part.name) : !part.filename.isEmpty();
}

/// The main product's installer checks no checksums, so that it must not read anything else.
bool has_verified_file(const VINST_COMPONENT& part)
{
    const VINST_COMPONENT* const carrier = part.file_carrier();
    return carrier != nullptr && carrier->file.is_verified();
}

struct MAIN_PRODUCT_PARTS
{
    QStringList enabled;
    QStringList disabled;
};

MAIN_PRODUCT_PARTS parts_of_main_product(const VINST_COMPONENT& main_product,
                                         const QString& platform)
{
    MAIN_PRODUCT_PARTS parts;
    for (const VINST_COMPONENT* part :
         components_of_kind(*main_product.release, VINST_COMPONENT_KIND::download, platform))
    {
        if (part == &main_product)
            continue;
        if (part->standalone)
            parts.disabled.append(part->name);
        else if (takes_part(*part))
            (has_verified_file(*part) ? parts.enabled : parts.disabled).append(part->name);
    }
    return parts;
}

/// The user's choice to skip the shortcuts applies only to unattended installers: whoever starts
/// one by hand has not been asked.
QString shortcut_options(const VINST_RELEASE& release, const QString& platform, bool unattended)
{
    for (const VINST_COMPONENT* action :
         components_of_kind(release, VINST_COMPONENT_KIND::install, platform))
        if (action->name == "desktop_shortcuts")
            return action->skip != 0 && unattended ? QString() : ' ' + action->cmd_options;
    return {};
}

}

VINST_INSTALL_STEP decide_install_step(VINST_COMPONENT& component, const QString& main_product,
                                       bool unattended, const QString& platform)
{
    if (const QString reason = missing_file_reason(component); !reason.isEmpty())
        return no_command(reason);
    if (const QString reason = missing_installer_reason(component, main_product); !reason.isEmpty())
        return no_command(reason);

    const bool is_main_product = component.name == main_product;
    const QString own_platform = is_platform(component.platform) ? component.platform : platform;
    const VINST_RELEASE& release = *component.release;
    const VINST_COMPONENT* main_component = release.find_component(main_product, own_platform);
    if (!component.standalone && main_component != nullptr && main_component->is_selected() &&
        main_component->file.exists())
        return no_command(is_main_product ? main_not_standalone : left_to_main_product);

    if (is_msi_package(component, own_platform) && !component.in_device_group)
        return {msi_command(component, unattended), {}, {}};
    const QString options = option_part(component, is_main_product, platform);
    const QString own_installer = command_part(component.file_carrier()->file.path()) +
                                  (unattended ? options : QString()) + installdir_part(release);
    if (is_main_product)
    {
        const MAIN_PRODUCT_PARTS parts = parts_of_main_product(component, own_platform);
        return {own_installer + enable_part(parts.enabled) + disable_part(parts.disabled) +
                    shortcut_options(release, own_platform, unattended),
                {},
                parts.enabled,
                false};
    }
    if (component.in_device_group)
        return device_step(component, options);
    const QString edition = is_edition(component.name)
                                ? " --morlan_edition " + command_part(component.name)
                                : QString();
    return {own_installer + edition, {}, {}, false};
}

QString build_install_command(VINST_COMPONENT& component, const QString& main_product,
                              bool unattended, const QString& platform)
{
    return decide_install_step(component, main_product, unattended, platform).command;
}

bool is_installed_by_others(const VINST_COMPONENT& component, const QStringList& installed)
{
    if (installed.contains(component.name))
        return true;
    // An edition's installer also installs the part shared by all editions.
    return component.is_simulator() && !is_edition(component.name) &&
           std::any_of(installed.begin(), installed.end(), is_edition);
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
