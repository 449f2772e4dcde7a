#include "install/vinst/release/vinst_data_space.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/release/vinst_data_install.h"

#include <QStorageInfo>

#include <algorithm>
#include <limits>

namespace
{

quint64 install_bytes(const VINST_COMPONENT& component)
{
    constexpr double largest = 9.0e18;
    return static_cast<quint64>(std::clamp(component.installsize, 0.0, largest));
}

/// A saturating sum, because the sizes in a manifest can be arbitrarily large.
quint64 sum_of(quint64 one, quint64 other)
{
    const quint64 largest = std::numeric_limits<quint64>::max();
    return one > largest - other ? largest : one + other;
}

/// A simulator edition counts as the components above it, not as itself.
quint64 install_bytes_added_by(const VINST_COMPONENT& component)
{
    if (!component.is_simulator())
        return install_bytes(component);
    quint64 sum = 0;
    if (component.name == "morlan_fse" || component.name == "morlan_fe")
        for (const VINST_COMPONENT* above = component.parent; above != nullptr;
             above = above->parent)
            sum = sum_of(sum, install_bytes(*above));
    return sum;
}

double available_gigabytes(const VINST_VOLUME& volume)
{
    return gigabytes(static_cast<quint64>(std::max<qint64>(volume.available, 0)));
}

bool log_and_compare(const char* check, const char* label, double needed, double available)
{
    run_log().info("Check having enough %s space:", check);
    run_log().info("Total %s size: %.2f GB, total avail: %.2f GB", label, needed, available);
    return available > needed;
}

QString size_line(const char* label, quint64 bytes)
{
    return QLatin1String(label) + ": " + gigabytes_text(bytes);
}

}

VINST_SPACE_FIGURES space_figures(const VINST_RELEASE& release, const QString& platform)
{
    VINST_SPACE_FIGURES figures;
    for (const VINST_COMPONENT* component :
         selected_components(release, VINST_COMPONENT_KIND::download, platform))
    {
        figures.selected = sum_of(figures.selected, component->expected_size());
        if (component->file.exists())
            figures.downloaded = sum_of(figures.downloaded, component->expected_size());
        figures.to_install = sum_of(figures.to_install, install_bytes_added_by(*component));
    }
    figures.to_download = figures.selected - figures.downloaded;
    return figures;
}

VINST_VOLUME query_volume(const QString& dir)
{
    const QStorageInfo volume(dir);
    return {volume.rootPath(), volume.bytesAvailable()};
}

bool has_enough_download_space(VINST_RELEASE& release, const QString& platform,
                               const VINST_VOLUME_QUERY& query)
{
    const VINST_VOLUME volume = query(nearest_existing_dir(release.ensure_download_dir()));
    return log_and_compare("download", "download",
                           gigabytes(space_figures(release, platform).to_download),
                           available_gigabytes(volume));
}

bool has_enough_install_space(VINST_RELEASE& release, const QString& platform,
                              const VINST_VOLUME_QUERY& query)
{
    const VINST_VOLUME install_volume = query(nearest_existing_dir(release.install_dir()));
    const VINST_VOLUME download_volume = query(nearest_existing_dir(release.ensure_download_dir()));
    const VINST_SPACE_FIGURES figures = space_figures(release, platform);
    const bool shared = install_volume.root == download_volume.root;
    const char* word = shared ? "download & install" : "install";
    const double needed =
        gigabytes(figures.to_install) + (shared ? gigabytes(figures.to_download) : 0);
    return log_and_compare(word, word, needed, available_gigabytes(install_volume));
}

bool has_enough_space_to_join(const VINST_COMPONENT_LIST& components, const QString& dir,
                              const VINST_VOLUME_QUERY& query)
{
    quint64 needed = 0;
    quint64 largest_rest = 0;
    for (const VINST_COMPONENT* component : components)
    {
        const quint64 size = component->expected_size();
        const quint64 rest = size - std::min(size, component->file.bytes_on_disk());
        needed = sum_of(needed, rest);
        largest_rest = std::max(largest_rest, rest);
    }
    needed = sum_of(needed, largest_rest / 2);
    const VINST_VOLUME volume = query(nearest_existing_dir(dir));
    return static_cast<quint64>(std::max<qint64>(volume.available, 0)) > needed ||
           log_and_compare("joining", "download & join", gigabytes(needed),
                           available_gigabytes(volume));
}

QStringList run_summary(VINST_RELEASE& release, const VINST_RUN_SETTINGS& settings)
{
    const VINST_SPACE_FIGURES figures = space_figures(release, settings.platform);
    QStringList lines{"Platform selected: " + settings.platform, "Components selected:"};
    for (const VINST_COMPONENT* component :
         selected_components(release, VINST_COMPONENT_KIND::download, settings.platform))
        lines.append("  " + without_control_characters(component->name));
    lines << size_line("Total selected components size", figures.selected)
          << size_line("Already downloaded size", figures.downloaded)
          << size_line("Total download size", figures.to_download)
          << "Download dir: " + release.ensure_download_dir();
    if (settings.auto_install)
        lines << "Auto install: on"
              << "Install dir: " + release.install_dir() << "Accept EULA: yes"
              << size_line("Total install size", figures.to_install);
    else
        lines << "Auto install: off";
    lines << "Number of parallel downloads: " + QString::number(settings.parallel_downloads)
          << "Retry duration: " + QString::number(settings.retry_minutes) + " (minutes)";
    return lines;
}
