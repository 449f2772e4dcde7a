#pragma once

#include "install/vinst/release/vinst_component.h"
#include "install/vinst/release/vinst_name_index.h"
#include "support/curl/curl_proxy_info.h"

#include <QString>

#include <memory>
#include <vector>

/// One release, as its manifest announces it. Owns its components.
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
    QString manifest_download_url; ///< the manifest's "download_url", or this run's mirror
    QString installdir_linux;
    QString installdir_windows;
    CURL_PROXY_INFO proxy_info; ///< the proxy that the connection test proved
    qint32 unattended_ui = 1;   ///< zero: installers show no interface at all
    bool in_use = false;        ///< set on the release that the run works on

    /// Splits a dotted version into `version`, `short_version`, `build_number`, `update_number`.
    void set_version(const QString& text);

    /// Appends a component that belongs to this release. It can be found once its name and
    /// platform have been set and `index_component` has been called, before the next one is added.
    VINST_COMPONENT* add_component();
    void index_component(VINST_COMPONENT* component);
    const std::vector<std::unique_ptr<VINST_COMPONENT>>& components() const { return m_components; }

    /// The first component of that name that suits the platform; null when there is none.
    /// \param platform  "", "linux" or "windows"; anything else is a programming error
    VINST_COMPONENT* find_component(const QString& name, const QString& platform) const;

    const QString& install_dir() const { return m_install_dir; }
    const QString& download_dir() const { return m_download_dir; }
    void set_install_dir(const QString& path);
    void set_download_dir(const QString& path);
    /// The download directory in force; the default one is stored first where there is none.
    const QString& ensure_download_dir();

    QString default_download_dir() const;
    /// Also stored as the install directory.
    /// \param platform  "linux" or "windows"; anything else is a programming error
    QString default_install_dir(const QString& platform);

    /// The base URL in force: the manifest's, else the built-in one, without a trailing slash.
    QString download_url() const;
    /// The readers of the connection test's file; the built-in values are stored where none is set.
    const QString& test_url();
    const QString& test_md5sum();
    void set_test_file(const QString& url, const QString& md5sum);

    QString window_title() const;
    /// "Orvane Veltrin Crest Pro Edition 5.2": what the log and the help name.
    QString display_title() const;
    QString documentation_url() const;
    QString survey_url() const;

private:
    std::vector<std::unique_ptr<VINST_COMPONENT>> m_components;
    VINST_NAME_INDEX m_index; ///< its places are those in m_components
    QString m_test_url;
    QString m_test_md5sum;
    QString m_install_dir;
    QString m_download_dir;
};

/// The release that the run works on; one must have been set.
VINST_RELEASE* get_release();
void set_current_release(VINST_RELEASE* release);
