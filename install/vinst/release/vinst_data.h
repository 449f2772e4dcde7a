#pragma once

#include "install/vinst/release/vinst_component.h"
#include "install/vinst/release/vinst_name_index.h"
#include "support/curl/curl_proxy_info.h"

#include <QString>

#include <memory>
#include <vector>

/// One release, as described by its manifest. Owns its components.
class VINST_RELEASE
{
public:
    VINST_RELEASE();
    ~VINST_RELEASE();
    VINST_RELEASE(const VINST_RELEASE&) = delete;
    VINST_RELEASE& operator=(const VINST_RELEASE&) = delete;

    QString version;
    QString short_version;
    QString build_number;
    QString update_number;
    QString edition;
    QString manifest_path;         ///< absolute; empty for a release that was not read from a file
    QString manifest_download_url; ///< the manifest's "download_url", or this run's mirror
    QString installdir_linux;
    QString installdir_windows;
    CURL_PROXY_INFO proxy_info; ///< the proxy that passed the connection test
    qint32 unattended_ui = 1;   ///< zero: installers show no user interface
    bool in_use = false;        ///< set on the release that the run works on

    /// What named `proxy_info`, such as "--proxy" or "https_proxy"; may be empty.
    const std::string& proxy_source() const { return proxy_info.source(); }

    /// Splits a dotted version into `version`, `short_version`, `build_number`, `update_number`.
    void set_version(const QString& text);

    /// Appends a component, owned by this release. To make it findable, set its name and platform
    /// and call `index_component` before the next one is added.
    VINST_COMPONENT* add_component();
    void index_component(VINST_COMPONENT* component);
    const std::vector<std::unique_ptr<VINST_COMPONENT>>& components() const { return m_components; }

    /// The first component with that name for the platform; null when there is none.
    /// \param platform  "", "linux" or "windows"; anything else is a programming error
    VINST_COMPONENT* find_component(const QString& name, const QString& platform) const;

    const QString& install_dir() const { return m_install_dir; }
    const QString& download_dir() const { return m_download_dir; }
    void set_install_dir(const QString& path);
    void set_download_dir(const QString& path);
    /// The current download directory. Stores the default one first if none is set.
    const QString& ensure_download_dir();

    QString default_download_dir() const;
    /// The default install directory, which is also stored as the install directory.
    /// \param platform  "linux" or "windows"; anything else is a programming error
    QString default_install_dir(const QString& platform);

    /// The current base URL: the manifest's, otherwise the built-in one, without a trailing slash.
    QString download_url() const;
    /// The URL and checksum of the connection test's file. Stores the built-in values if none are
    /// set.
    const QString& test_url();
    const QString& test_md5sum();
    void set_test_file(const QString& url, const QString& md5sum);
    /// Fetches the files from a mirror, and with them the test file if it is below the release's
    /// own address.
    void use_mirror(const QString& url);

    QString window_title() const;
    /// "Orvane Veltrin Crest Pro Edition 5.2", for the log and the help.
    QString display_title() const;
    /// The name under which a run keeps its log in the download directory.
    QString log_file_name() const;
    QString documentation_url() const;
    QString survey_url() const;

private:
    std::vector<std::unique_ptr<VINST_COMPONENT>> m_components;
    VINST_NAME_INDEX m_index; ///< of positions in m_components
    QString m_test_url;
    QString m_test_md5sum;
    QString m_install_dir;
    QString m_download_dir;
};

/// The release that the run works on; must have been set.
VINST_RELEASE* get_release();
void set_current_release(VINST_RELEASE* release);
