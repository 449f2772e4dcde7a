#include "install/vinst/download/vinst_installation.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_mgr_integrity.h"
#include "install/vinst/release/vinst_data_install.h"

#include <algorithm>

namespace
{

using RESULT = VINST_INSTALL_OUTCOME::RESULT;

/// One run over the components that passed their checks.
class INSTALLATION
{
public:
    INSTALLATION(const VINST_RELEASE& release, const VINST_COMPONENT_LIST& components,
                 const std::function<bool()>& is_to_stop)
        : m_release(release), m_components(components), m_is_to_stop(is_to_stop)
    {
    }

    RESULT run()
    {
        if (install_components() && run_actions())
            return RESULT::installed;
        return m_is_to_stop() ? RESULT::stopped : RESULT::failed;
    }

private:
    bool install_components();
    bool run_actions() const;
    bool install(VINST_COMPONENT& component);
    bool is_unchanged_since_check(VINST_COMPONENT& component) const;
    bool run(const QString& command) const
    {
        return !m_is_to_stop() && run_command(command, m_is_to_stop) == 0;
    }

    const VINST_RELEASE& m_release;
    const VINST_COMPONENT_LIST& m_components;
    const std::function<bool()>& m_is_to_stop;
};

bool INSTALLATION::install_components()
{
    // Each command is built when its turn comes: what one installer installs, such as the device
    // installer, decides on the commands after it.
    return std::all_of(m_components.begin(), m_components.end(),
                       [this](VINST_COMPONENT* component) { return install(*component); });
}

bool INSTALLATION::install(VINST_COMPONENT& component)
{
    const QString command =
        build_install_command(component, main_product_name, true, host_platform());
    if (command.isEmpty())
    {
        run_log().info("Nothing to run for component: %s", component.log_name());
        return true;
    }
    // The main product's installer reads the files of its parts, too.
    const VINST_COMPONENT_LIST own{&component};
    const VINST_COMPONENT_LIST& read_by_it = component.is_main_product() ? m_components : own;
    const bool unchanged =
        std::all_of(read_by_it.begin(), read_by_it.end(),
                    [this](VINST_COMPONENT* file) { return is_unchanged_since_check(*file); });
    return unchanged && run(command);
}

bool INSTALLATION::is_unchanged_since_check(VINST_COMPONENT& component) const
{
    const std::string path = utf8(component.local_file_path());
    const auto file = FIO_FILE_SYSTEM::identity(path);
    if (file && file == component.verified_file)
        return true;
    if (check_md5(&component, m_is_to_stop))
    {
        component.verified_file = file;
        return true;
    }
    if (m_is_to_stop())
        return false;
    report("The file " + path + " has changed since it was verified. Nothing is run.", true);
    return false;
}

bool INSTALLATION::run_actions() const
{
    const VINST_COMPONENT_LIST actions =
        components_of_kind(m_release, VINST_COMPONENT_KIND::install, host_platform());
    return std::all_of(actions.begin(), actions.end(),
                       [this](const VINST_COMPONENT* action)
                       {
                           const QString command = build_action_command(*action, host_platform());
                           return command.isEmpty() || run(command);
                       });
}

}

VINST_INSTALL_OUTCOME run_installation(const VINST_RELEASE& release,
                                       const VINST_COMPONENT_LIST& components,
                                       const std::function<bool()>& is_to_stop)
{
    report("Do install ...", false);
    free_disk_space(utf8(release.install_dir()));
    return {INSTALLATION(release, components, is_to_stop).run()};
}
