#pragma once

#include "install/vinst/release/vinst_data_components.h"

#include <QString>
#include <QStringList>

#include <functional>

/// Totals in bytes of the selected download components of a platform.
struct VINST_SPACE_FIGURES
{
    quint64 selected = 0;
    quint64 downloaded = 0; ///< of components whose file exists
    quint64 to_download = 0;
    quint64 to_install = 0;
};

VINST_SPACE_FIGURES space_figures(const VINST_RELEASE& release, const QString& platform);

/// A file system and its free space.
struct VINST_VOLUME
{
    QString root;
    qint64 available = -1; ///< bytes; negative when it can't be queried
};

/// The volume of an existing directory.
VINST_VOLUME query_volume(const QString& dir);

using VINST_VOLUME_QUERY = std::function<VINST_VOLUME(const QString& dir)>;

/// Whether more space is available than needed, in GB; equal is not enough. Both log the figures.
bool has_enough_download_space(VINST_RELEASE& release, const QString& platform,
                               const VINST_VOLUME_QUERY& query = query_volume);
bool has_enough_install_space(VINST_RELEASE& release, const QString& platform,
                              const VINST_VOLUME_QUERY& query = query_volume);

/// Whether a file may be fetched in pieces, which takes more space: a piece is removed only after
/// its bytes have been appended to the file, and is at most half of it. Logs the figures if not.
bool has_enough_space_to_join(const VINST_COMPONENT_LIST& components, const QString& dir,
                              const VINST_VOLUME_QUERY& query = query_volume);

/// The settings shown in the run summary in addition to the release's own.
struct VINST_RUN_SETTINGS
{
    QString platform;
    bool auto_install = false;
    int parallel_downloads = 0;
    int retry_minutes = 0;
};

/// One line per entry.
QStringList run_summary(VINST_RELEASE& release, const VINST_RUN_SETTINGS& settings);
