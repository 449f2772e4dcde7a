#pragma once

#include "install/vinst/release/vinst_component_file.h"

#include <QString>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

struct CURL_PROGRESS_DATA;
class VINST_RELEASE;

/// The main product's name in every manifest.
inline const QString main_product_name = QStringLiteral("veltrin_base");

/// The main product's name on the command line, where both are accepted.
inline const QString main_product_short_name = QStringLiteral("veltrin");

enum class VINST_COMPONENT_KIND : qint32
{
    main = 0,
    download = 1,
    install = 2,
    unknown = 3
};

/// The kind as written in a manifest; empty for an unknown one.
QString component_kind_text(VINST_COMPONENT_KIND kind);
VINST_COMPONENT_KIND component_kind_from_text(const QString& text);

/// Both `selected` and `partly_selected` count as selected.
enum class VINST_SELECTION : qint32
{
    selected = 0,
    not_selected = 1,
    partly_selected = 2
};

/// What this process has done to get a component's file.
struct VINST_COMPONENT_WORK
{
    quint64 bytes_fetched = 0;        ///< in all attempts
    quint64 bytes_reused = 0;         ///< on disk from an earlier run, and kept
    int attempts = 0;                 ///< in which the file was requested
    std::chrono::nanoseconds time{0}; ///< of these requests, without the waits between them
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
    bool in_device_group = false; ///< whether one of its ancestors is the device group
    std::vector<VINST_COMPONENT*> dependencies;
    VINST_SELECTION selection = VINST_SELECTION::not_selected;
    bool standalone = false;
    bool addon = false;
    VINST_COMPONENT_KIND kind = VINST_COMPONENT_KIND::unknown;
    QString platform; ///< "windows", "linux", or empty for both
    QString cmd_exe;
    QString cmd_options;
    /// For an after-install action: 0 runs it, any other value skips it. Set by the user's choice.
    qint32 skip = 0;
    VINST_RELEASE* release = nullptr;

    VINST_COMPONENT_FILE file{*this};
    std::unique_ptr<CURL_PROGRESS_DATA> progress_data; ///< of the current download run
    /// Why the file isn't verified after the last attempt, as reported to the user; otherwise
    /// empty.
    QString last_failure;
    VINST_COMPONENT_WORK work;

    /// `size` as an unsigned number, for progress calculations.
    quint64 expected_size() const { return static_cast<quint64>(size); }
    /// The title, or the name if there is no title, with control characters replaced.
    QString display_name() const;
    /// The name for log lines: UTF-8, with control characters replaced.
    std::string log_name() const;
    /// The URL of the file; empty when there is nothing to download.
    QString download_url() const;
    /// The component whose file installs this one: usually itself, but an edition of the simulator
    /// may be installed from the file of its parent; null when there is no file.
    const VINST_COMPONENT* file_carrier() const;
    bool is_selected() const { return selection != VINST_SELECTION::not_selected; }
    bool is_device_archive() const;
    bool is_main_product() const;
    bool is_simulator() const;
    /// Makes it the last child of a component whose own ancestors are already known.
    void set_parent(VINST_COMPONENT& above);
};
