#pragma once

#include "support/curl/curl_proxy_info.h"
#include "support/fio/fio_file_system.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

struct CURL_PROGRESS_DATA;
class VINST_RELEASE;

enum class VINST_COMPONENT_KIND : qint32
{
    main = 0,
    download = 1,
    install = 2,
    unknown = 3
};

/// The manifest's word for a kind; empty for an unknown one.
QString component_kind_text(VINST_COMPONENT_KIND kind);
VINST_COMPONENT_KIND component_kind_from_text(const QString& text);

/// Both `selected` and `partly_selected` count as selected.
enum class VINST_SELECTION : qint32
{
    selected = 0,
    not_selected = 1,
    partly_selected = 2
};

/// One downloadable file, or one after-install action, of a release for one platform.
/// Lives as long as its release, on whose thread all its fields are read and written.
struct VINST_COMPONENT
{
    VINST_COMPONENT();
    ~VINST_COMPONENT();
    VINST_COMPONENT(const VINST_COMPONENT&) = delete;
    VINST_COMPONENT& operator=(const VINST_COMPONENT&) = delete;

    QString name;
    QString title;
    QString desc;
    QString filename; ///< a plain name, never a path; empty when there is nothing to download
    QString md5sum;   ///< lower-case hexadecimal; decides whether the file is good
    QString sha1sum;
    qint64 size = 0; ///< bytes, never negative
    QString downloadsize_str;
    double installsize = 0; ///< bytes
    QString installsize_str;
    VINST_COMPONENT* parent = nullptr;
    std::vector<VINST_COMPONENT*> children;
    std::vector<VINST_COMPONENT*> dependencies;
    VINST_SELECTION selection = VINST_SELECTION::not_selected;
    bool standalone = false;
    bool addon = false;
    VINST_COMPONENT_KIND kind = VINST_COMPONENT_KIND::unknown;
    QString platform; ///< "windows", "linux", or empty for both
    QString cmd_exe;
    QString cmd_options;
    VINST_RELEASE* release = nullptr;

    quint64 bytes_on_disk = 0; ///< last measured size of the local file
    bool download_complete = false;
    bool integrity_passed = false;
    bool integrity_checked = false;
    QString checked_download_dir; ///< the download directory when the last check began
    std::optional<FIO_FILE_IDENTITY> verified_file;    ///< what the last check that passed had read
    std::unique_ptr<CURL_PROGRESS_DATA> progress_data; ///< of the current download run

    /// `size` as the unsigned number that progress figures are made of.
    quint64 expected_size() const { return static_cast<quint64>(size); }
    /// The title, or the name where there is none, with control characters replaced.
    QString display_name() const;
    QString local_file_path() const;
    /// Where the file is fetched from; empty when there is nothing to download.
    QString download_url() const;
    bool is_selected() const { return selection != VINST_SELECTION::not_selected; }
    bool is_device_archive() const;
    bool is_main_product() const;
    bool is_simulator() const;
    /// Whether one of its ancestors is the device group.
    bool is_device_group_member() const;
    /// Whether an integrity check of the file in the current download directory has finished.
    bool is_checked_for_current_dir() const;
};

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

    /// Appends a component that belongs to this release. Its name and platform must be set by
    /// `index_component` once they are known, before it can be found.
    VINST_COMPONENT* add_component();
    void index_component(VINST_COMPONENT* component);
    const std::vector<std::unique_ptr<VINST_COMPONENT>>& components() const { return m_components; }

    /// The first component of that name and platform; one without a platform suits every platform.
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
    /// By name and platform, the first component and its place in manifest order.
    QHash<QString, std::pair<std::size_t, VINST_COMPONENT*>> m_index;
    QString m_test_url;
    QString m_test_md5sum;
    QString m_install_dir;
    QString m_download_dir;
};

/// The release that the run works on; one must have been set.
VINST_RELEASE* get_release();
void set_current_release(VINST_RELEASE* release);
