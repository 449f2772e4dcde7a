#include "install/vinst/download/vinst_installation.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data_install.h"

#include <algorithm>
#include <map>
#include <vector>

namespace
{

using RESULT = VINST_INSTALL_OUTCOME::RESULT;

/// A component without an installer to run.
struct WITHOUT_INSTALLER
{
    VINST_COMPONENT* component;
    QString reason;
    bool is_installed = false; ///< as reported to the view
};

QString failure_text(const QString& what, const VINST_COMMAND_RESULT& result)
{
    const QString text = what + " failed. " + result.cause + '.';
    return result.last_lines.isEmpty()
               ? text
               : text + " The last lines of its output:\n  " + result.last_lines.join("\n  ");
}

/// One installation of the components that passed their checks.
class INSTALLATION
{
public:
    INSTALLATION(const VINST_RELEASE& release, const VINST_COMPONENT_LIST& components,
                 VINST_DOWNLOADER_VIEW& view, const std::function<bool()>& is_to_stop)
        : m_release(release), m_components(components), m_view(view), m_is_to_stop(is_to_stop)
    {
    }

    VINST_INSTALL_OUTCOME run();

private:
    bool install_components();
    bool install(VINST_COMPONENT& component);
    /// How many of the components after this one are expected to have an installer.
    int installers_after(const VINST_COMPONENT& component) const;
    void show_end(VINST_COMPONENT& component, bool succeeded);
    void show_installed_parts();
    bool run_actions();
    bool run_action(const VINST_COMPONENT& action);
    bool is_left_out(const VINST_COMPONENT* component) const;
    QStringList not_installed() const;
    QString reason_for_nothing() const;
    /// Checks parts that are complete in the download directory although this run did not fetch
    /// them, because the main product's installer reads them, too.
    void verify_files_of_earlier_runs() const;
    /// Checks a file once more that has changed since it was verified. \return whether the file
    /// that is on disk now is verified
    bool check_again_if_changed(VINST_COMPONENT& component);
    bool check_again(VINST_COMPONENT& component) const;
    bool run_to_success(const QString& command, const VINST_COMPONENT& component,
                        const QString& what);
    VINST_INSTALL_OUTCOME outcome(RESULT result, const QString& reason) const;
    std::vector<VINST_COMPONENT_INSTALLATION> details() const;
    VINST_COMPONENT_INSTALLATION detail(const VINST_COMPONENT& component) const;

    const VINST_RELEASE& m_release;
    const VINST_COMPONENT_LIST& m_components;
    VINST_DOWNLOADER_VIEW& m_view;
    const std::function<bool()>& m_is_to_stop;
    QStringList
        m_installed;   ///< names of components whose installers ran, and of parts that they enabled
    int m_started = 0; ///< installers
    QStringList m_completed; ///< the same, without the installer that failed
    std::map<const VINST_COMPONENT*, VINST_COMMAND_RESULT> m_results;
    std::vector<const VINST_COMPONENT*> m_actions; ///< that were run
    std::vector<WITHOUT_INSTALLER> m_without_installer;
    QString m_failure;
};

VINST_INSTALL_OUTCOME INSTALLATION::run()
{
    const bool succeeded = install_components() && (m_installed.isEmpty() || run_actions());
    if (!succeeded && m_is_to_stop())
        return outcome(RESULT::stopped, {});
    if (!succeeded)
    {
        report(utf8(m_failure), true);
        return outcome(RESULT::failed, m_failure);
    }
    if (m_installed.isEmpty())
        return outcome(RESULT::nothing_to_install, reason_for_nothing());
    return outcome(RESULT::installed, {});
}

VINST_INSTALL_OUTCOME INSTALLATION::outcome(RESULT result, const QString& reason) const
{
    const bool needs_restart =
        std::any_of(m_results.begin(), m_results.end(),
                    [](const auto& entry) { return entry.second.needs_restart; });
    return {result, not_installed(), reason, needs_restart, details()};
}

std::vector<VINST_COMPONENT_INSTALLATION> INSTALLATION::details() const
{
    std::vector<VINST_COMPONENT_INSTALLATION> result;
    for (const VINST_COMPONENT* component : m_components)
        result.push_back(detail(*component));
    for (const VINST_COMPONENT* action : m_actions)
        result.push_back(detail(*action));
    return result;
}

VINST_COMPONENT_INSTALLATION INSTALLATION::detail(const VINST_COMPONENT& component) const
{
    VINST_COMPONENT_INSTALLATION result{&component};
    const auto command = m_results.find(&component);
    const bool was_run = command != m_results.end();
    if (was_run)
        result.exit_code = command->second.exit_code;
    result.is_installed =
        (was_run && command->second.succeeded) || is_installed_by_others(component, m_completed);
    for (const WITHOUT_INSTALLER& entry : m_without_installer)
        if (entry.component == &component && !result.is_installed)
            result.error = entry.reason;
    if (was_run && !command->second.succeeded)
        result.error = m_failure;
    return result;
}

bool INSTALLATION::install_components()
{
    // Each command is built just before it is run, because it may depend on what earlier installers
    // have installed, such as the device installer.
    return std::all_of(m_components.begin(), m_components.end(),
                       [this](VINST_COMPONENT* component) { return install(*component); });
}

bool INSTALLATION::install(VINST_COMPONENT& component)
{
    if (component.is_main_product())
        verify_files_of_earlier_runs();
    const VINST_INSTALL_STEP step =
        decide_install_step(component, main_product_name, true, host_platform());
    if (step.command.isEmpty())
    {
        run_log().info("Nothing to run for component: %s", component.log_name());
        m_without_installer.push_back({&component, step.reason_for_none, false});
        show_installed_parts();
        return true;
    }
    // The main product's installer also reads the files of its parts.
    const VINST_COMPONENT_LIST own{&component};
    const VINST_COMPONENT_LIST& read_by_it = component.is_main_product() ? m_components : own;
    const bool all_verified =
        std::all_of(read_by_it.begin(), read_by_it.end(),
                    [this](VINST_COMPONENT* file) { return check_again_if_changed(*file); });
    if (!all_verified || m_is_to_stop())
        return false;
    m_installed << component.name << step.parts;
    ++m_started;
    m_view.show_installer(&component, m_started, m_started + installers_after(component));
    const bool succeeded =
        run_to_success(step.command, component, "The installer of " + component.display_name());
    if (succeeded)
        m_completed << component.name << step.parts;
    show_end(component, succeeded);
    return succeeded;
}

int INSTALLATION::installers_after(const VINST_COMPONENT& component) const
{
    const auto current = std::find(m_components.begin(), m_components.end(), &component);
    const bool brings_device_installer =
        std::any_of(current, m_components.end(),
                    [](const VINST_COMPONENT* other) { return other->is_main_product(); });
    return static_cast<int>(
        std::count_if(current + 1, m_components.end(),
                      [&](VINST_COMPONENT* other)
                      {
                          const VINST_INSTALL_STEP step =
                              decide_install_step(*other, main_product_name, true, host_platform());
                          return !step.command.isEmpty() ||
                                 (step.awaits_device_installer && brings_device_installer);
                      }));
}

void INSTALLATION::show_end(VINST_COMPONENT& component, bool succeeded)
{
    if (!succeeded && m_is_to_stop())
        return;
    m_view.show_installer_end(&component, succeeded ? QString() : m_failure);
    if (succeeded)
        show_installed_parts();
}

void INSTALLATION::show_installed_parts()
{
    for (WITHOUT_INSTALLER& part : m_without_installer)
    {
        if (part.is_installed || !is_installed_by_others(*part.component, m_completed))
            continue;
        part.is_installed = true;
        m_view.show_installer_end(part.component, {});
    }
}

void INSTALLATION::verify_files_of_earlier_runs() const
{
    for (VINST_COMPONENT* const part :
         components_of_kind(m_release, VINST_COMPONENT_KIND::download, host_platform()))
    {
        part->file.measure();
        if (part->file.is_complete() && !part->file.is_checked() && !m_is_to_stop())
            check_again(*part);
    }
}

bool INSTALLATION::check_again_if_changed(VINST_COMPONENT& component)
{
    if (component.file.is_verified())
        return true;
    // The content may be unchanged, for example after a restore from a backup.
    if (check_again(component))
        return true;
    if (m_is_to_stop())
        return false;
    m_failure = "The file " + without_control_characters(component.file.path()) +
                " has changed since it was verified. Nothing is run.";
    return false;
}

bool INSTALLATION::check_again(VINST_COMPONENT& component) const
{
    component.file.begin_check();
    VINST_FILE_DIGEST digest(component.file.path());
    const VINST_FILE_CHECK check = check_file(digest, component.md5sum, m_is_to_stop);
    component.file.finish_check(check);
    return check.passed;
}

bool INSTALLATION::run_actions()
{
    const VINST_COMPONENT_LIST actions =
        components_of_kind(m_release, VINST_COMPONENT_KIND::install, host_platform());
    return std::all_of(actions.begin(), actions.end(),
                       [this](const VINST_COMPONENT* action) { return run_action(*action); });
}

bool INSTALLATION::run_action(const VINST_COMPONENT& action)
{
    const QString command = build_action_command(action, host_platform());
    if (command.isEmpty())
        return true;
    const VINST_COMPONENT* const owner = owner_of_action(action, host_platform());
    if (is_left_out(owner))
    {
        run_log().info("Skipping the action %s because its component was not installed: %s",
                       action.log_name(), owner->log_name());
        return true;
    }
    m_actions.push_back(&action);
    m_view.show_action(action);
    return run_to_success(command, action, "The action " + action.display_name());
}

bool INSTALLATION::run_to_success(const QString& command, const VINST_COMPONENT& component,
                                  const QString& what)
{
    if (m_is_to_stop())
        return false;
    const VINST_COMMAND_RESULT result = run_command(
        command, m_is_to_stop, [this](const QString& line) { m_view.show_installer_output(line); });
    m_results.insert_or_assign(&component, result);
    if (!result.succeeded)
        m_failure = failure_text(what, result);
    return result.succeeded;
}

bool INSTALLATION::is_left_out(const VINST_COMPONENT* component) const
{
    return std::any_of(m_without_installer.begin(), m_without_installer.end(),
                       [&](const WITHOUT_INSTALLER& entry) {
                           return entry.component == component &&
                                  !is_installed_by_others(*component, m_installed);
                       });
}

QStringList INSTALLATION::not_installed() const
{
    // Decided at the end, because the main product's installer may run after its parts.
    QStringList lines;
    for (const auto& [component, reason, is_installed] : m_without_installer)
        if (!is_installed && !is_installed_by_others(*component, m_installed))
            lines.append(component->display_name() + " was not installed: " + reason + '.');
    return lines;
}

QString INSTALLATION::reason_for_nothing() const
{
    if (!m_components.empty())
        return QStringLiteral("none of the components has an installer to run");
    const VINST_COMPONENT_LIST offered =
        components_of_kind(m_release, VINST_COMPONENT_KIND::download, host_platform());
    const bool is_group_selected =
        std::any_of(offered.begin(), offered.end(),
                    [](const VINST_COMPONENT* component) { return component->is_selected(); });
    return is_group_selected ? QStringLiteral("no selected component has a file to install")
                             : QStringLiteral("no component is selected");
}

}

QStringList install_remarks(const VINST_INSTALL_OUTCOME& outcome)
{
    QStringList lines = outcome.not_installed;
    if (outcome.needs_restart)
        lines.append(QStringLiteral("Restart the computer to complete the installation."));
    return lines;
}

QString install_verdict(const VINST_INSTALL_OUTCOME& outcome)
{
    switch (outcome.result)
    {
    case RESULT::installed:
        return QStringLiteral("Installation completed successfully");
    case RESULT::nothing_to_install:
        return "Nothing was installed: " + outcome.reason + '.';
    case RESULT::failed:
    case RESULT::stopped:
        break;
    }
    return QStringLiteral("Installation cancelled or finished with error");
}

VINST_INSTALL_OUTCOME run_installation(const VINST_RELEASE& release,
                                       const VINST_COMPONENT_LIST& components,
                                       VINST_DOWNLOADER_VIEW& view,
                                       const std::function<bool()>& is_to_stop)
{
    report("Do install ...", false);
    log_disk_space(utf8(release.install_dir()));
    return INSTALLATION(release, components, view, is_to_stop).run();
}
