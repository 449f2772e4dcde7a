#include "install/vinst/download/vinst_downloader_mgr.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_mgr_integrity.h"
#include "install/vinst/release/vinst_data_install.h"

#include <algorithm>

bool VINST_DOWNLOADER_MGR::install()
{
    report("Do install ...", false);
    free_disk_space(utf8(m_release.install_dir()));
    // Each command is built when its turn comes: what one installer lays down, such as the device
    // installer, decides on the commands after it.
    return std::all_of(m_passed_components.begin(), m_passed_components.end(),
                       [this](VINST_COMPONENT* component)
                       { return install_component(component); }) &&
           run_after_install_actions();
}

bool VINST_DOWNLOADER_MGR::run_after_install_actions()
{
    const VINST_COMPONENT_LIST actions =
        components_of_kind(m_release, VINST_COMPONENT_KIND::install, host_platform());
    return std::all_of(actions.begin(), actions.end(),
                       [](const VINST_COMPONENT* action)
                       {
                           const QString command = build_action_command(*action, host_platform());
                           return command.isEmpty() ||
                                  (!is_to_stop() && run_command(command, is_to_stop) == 0);
                       });
}

bool VINST_DOWNLOADER_MGR::install_component(VINST_COMPONENT* component)
{
    const QString command =
        build_install_command(*component, main_product_name, true, host_platform());
    if (command.isEmpty())
    {
        run_log().info("Nothing to run for component: %s", component->log_name());
        return true;
    }
    // The main product's installer reads the files of its parts, too.
    const VINST_COMPONENT_LIST own{component};
    const VINST_COMPONENT_LIST& read_by_it =
        component->is_main_product() ? m_passed_components : own;
    const bool unchanged =
        std::all_of(read_by_it.begin(), read_by_it.end(),
                    [this](VINST_COMPONENT* file) { return is_unchanged_since_check(file); });
    return unchanged && !is_to_stop() && run_command(command, is_to_stop) == 0;
}

bool VINST_DOWNLOADER_MGR::is_unchanged_since_check(VINST_COMPONENT* component)
{
    const std::string path = utf8(component->local_file_path());
    const auto file = FIO_FILE_SYSTEM::identity(path);
    if (file && file == component->verified_file)
        return true;
    if (check_md5(component, is_to_stop))
    {
        component->verified_file = file;
        return true;
    }
    if (is_to_stop())
        return false;
    report("The file " + path + " has changed since it was verified. Nothing is run.", true);
    return false;
}
