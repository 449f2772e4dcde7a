#include "install/vinst/base/vinst_messages.h"

#include "install/vinst/base/vinst_limits.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "support/curl/curl_plain_text.h"

#include <regex>
#include <utility>

namespace
{

std::map<std::string, std::string> make_table()
{
    return {
        {"ERROR_TEST_DOWNLOAD", "Internet connection cannot be established."},
        {"ERROR_TEST_DOWNLOAD_WITHOUT_PROXY",
         "Internet connection cannot be established. If you are behind a firewall, enter the proxy "
         "settings and try again."},
        {"ERROR_TEST_DOWNLOAD_WITH_PROXY",
         "Internet connection cannot be established. Verify your proxy settings."},
        {"DEFAULT_DIRECTORY_USED", "<ARG2> set as the default <ARG1> directory"},
        {"DOWNLOAD_DIR_NOT_SPECIFIED", "Download directory is not specified. Use --download-dir to "
                                       "specify the download directory."},
        {"INSTALL_DIR_NOT_SPECIFIED",
         "Install directory is not specified. Use --install-dir to specify the install directory."},
        {"DIR_SPECIFIED_PATH", "<ARG1> directory is set to: <ARG2>"},
        {"ERROR_CREATE_DIRECTORY",
         "Failed to create <ARG1> directory. Check if you have the write permission."},
        {"ERROR_DIRECTORY_NOT_WRITABLE", "Directory <ARG1> is not writable. <ARG2> aborted."},
        {"ERROR_INSTALLDIR_IS_NOT_EMPTY",
         "The installation directory is not empty. This application does not support updating an "
         "existing installation. \n"
         "Turn off the 'auto install after download' option and run the installer manually after "
         "download."},
        {"ERROR_AGREE_EULA_CLI", "You must agree to the Orvane License Agreement to install the "
                                 "software. Use --accept-eula to accept the agreement."},
        {"ERROR_AGREE_EULA_GUI", "Do you agree to the Orvane License Agreement?"},
        {"ERROR_PATH_IS_EMPTY", "Download or installation path is empty."},
        {"ERROR_SPACE_IN_PATH", "Download or installation path cannot include spaces."},
        {"ERROR_ILLEGAL_CHARACTERS_IN_PATH",
         "A file or directory name cannot contain any of the following characters: *?<>"},
        {"ERROR_WINDOWS_SYMLINK_PATH",
         "Symlink or Junction point is not allowed in installation path on Windows."},
        {"ERROR_PATH_LENGTH_OVER_LIMIT",
         "The path string exceeds the supported path length limit. Specify a shorter path."},
        {"ERROR_NOT_ENOUGH_DISKSPACE",
         "Disk space insufficient in <ARG1> to install this software. Either free up some disk "
         "space or install to a different location."},
        {"MSG_VIEW_EULA", "You can view the Orvane License Agreement in <ARG1>."},
        {"ERROR_INVALID_PARALLEL_DOWNLOADS_NUM", "Enter a number between " +
                                                     vinst_parallel_downloads.range_text() +
                                                     " for parallel downloads!"},
        {"ERROR_INVALID_RETRY_TIME", "Enter a number between " + vinst_retry_minutes.range_text() +
                                         " in minutes for retry duration!"},
        {"ERROR_INVALID_PLATFORM", "Please enter \"Windows\" or \"Linux\" platform."},
        {"ERROR_INVALID_PROXY_SERVER_INFO",
         "Ensure the server URL is valid and the port number is separated by a colon."},
        {"ERROR_INVALID_PROXY_USER_INFO", "Enter valid proxy credentials separated by a colon."},
        {"TOOLTIP_PLATFORM_INCOMPATIBILITY",
         "Auto-install is disabled because the files are unsupported on this platform."},
        {"TOOLTIP_AUTOINSTALL_EXISTING_INSTALL",
         "Auto-install is not supported for updating an existing installation."},
        {"TOOLTIP_AUTOINSTALL_NO_ADMIN",
         "Auto-install is disabled as you do not have admin privilege."},
        {"ERROR_ADMIN_PRIV",
         "You must run this command with administrator privileges to install the software."},
        {"ERROR_CORRUPTED_FILE", "This application cannot download <ARG1>. Download the files "
                                 "directly from the Orvane FPGA Download Center."},
        {"MSG_INSTALL_ADD_DEVICE",
         "Install the device through \"Add device\" option from the Veltrin Tools menu."},
        {"ERROR_DOWNLOAD_IN_PROGRESS",
         "Download is currently in progress. Stop the download before exiting the application."},
        {"ERROR_CHECK_INTEGRITY_IN_PROGRESS",
         "Please wait while a background task is being processed."},
        {"MSG_TEST_DOWNLOAD_SUCCESSFUL", "Internet connection tested successfully!"},
        {"FAILED_TO_CREATE_INSTALLATION_DIRECTORY",
         "Unable to create the specified installation directory. Auto-install aborted."},
        {"ERROR_NOT_ADMIN_CANT_INSTALL", "You do not have admin privilege to install. Do you want "
                                         "to continue downloading the files?"},
        {"TESTING_INTERNET_CONNECTION", "Testing Internet connection, please wait ... "},
        {"TEST_DOWNLOAD_RESULTS", "Test download -> <ARG1>"},
        {"WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE",
         "Disk space insufficient for installation. Do you want to proceed?"},
        {"WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE",
         "Disk space insufficient for download. Do you want to proceed?"},
        {"WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE_CLI",
         "Disk space insufficient for installation. Use --bypass to avoid the space check."},
        {"WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE_CLI",
         "Disk space insufficient for download. Use --bypass to avoid the space check."},
        {"ERROR_TEMP_NOT_WRITABLE",
         "Your temp directory is not writable, cannot perform test download."},
        {"ERROR_CURL_WRITE_ERROR",
         "Failed to write data to the destination. Ensure you have sufficient disk space."},
        {"ERROR_CURL_404_ERROR", "Error 404: File not found."},
    };
}

std::unique_ptr<VINST_MESSAGES>& catalogue()
{
    static std::unique_ptr<VINST_MESSAGES> the_catalogue;
    return the_catalogue;
}

VINST_MESSAGE_BOX& message_box()
{
    static VINST_MESSAGE_BOX the_box;
    return the_box;
}

}

VINST_MESSAGES& VINST_MESSAGES::instance()
{
    if (catalogue() == nullptr)
        catalogue() = std::make_unique<VINST_MESSAGES>();
    return *catalogue();
}

void VINST_MESSAGES::destroy()
{
    catalogue().reset();
}

VINST_MESSAGES::VINST_MESSAGES()
    : m_table(make_table()),
      m_logger(std::make_unique<CURL_LOGGER>(std::string(), CURL_LOGGER::info_level))
{
}

std::string VINST_MESSAGES::message(const std::string& id, const std::string& arg1,
                                    const std::string& arg2, const std::string& arg3,
                                    const std::string& arg4)
{
    std::string text = m_table[id];
    int number = 0;
    for (const std::string* argument : {&arg1, &arg2, &arg3, &arg4})
    {
        ++number;
        if (argument->empty())
            continue;
        const std::regex placeholder("<ARG" + std::to_string(number) + ">");
        text = std::regex_replace(text, placeholder, *argument);
    }
    return text;
}

void VINST_MESSAGES::report(const std::string& text, bool is_error)
{
    if (echo_to_console)
        print_text(echo_with_time ? timed_lines(text) : curl_plain_text(text) + "\n");
    if (is_error)
        m_logger->error(text);
    else
        m_logger->info(text);
}

void VINST_MESSAGES::report(const QString& text, bool is_error)
{
    report(utf8(text), is_error);
}

void VINST_MESSAGES::open_log()
{
    m_logger = std::make_unique<CURL_LOGGER>(log_path, CURL_LOGGER::info_level);
    m_logger->open();
}

void VINST_MESSAGES::close_log()
{
    m_logger->close();
}

void VINST_MESSAGES::set_debug()
{
    m_logger->set_log_level(CURL_LOGGER::debug_level);
}

std::string message(const std::string& id, const std::string& arg1, const std::string& arg2)
{
    return VINST_MESSAGES::instance().message(id, arg1, arg2);
}

void report(const std::string& text, bool is_error)
{
    VINST_MESSAGES::instance().report(text, is_error);
}

CURL_LOGGER& run_log()
{
    return VINST_MESSAGES::instance().logger();
}

void set_message_box(VINST_MESSAGE_BOX box)
{
    message_box() = std::move(box);
}

void report_early(const std::string& text, bool is_error, bool gui_host)
{
    if (gui_host && message_box())
        message_box()(text, is_error);
    else
        print_text(curl_plain_text(text) + "\n");
}
