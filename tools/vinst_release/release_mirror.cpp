#include "tools/vinst_release/release_mirror.h"

#include "install/vinst/base/vinst_limits.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_private_dir.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/download/vinst_fetch.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/download/vinst_file_failure.h"
#include "install/vinst/download/vinst_retry.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_mirror.h"
#include "install/vinst/release/vinst_parser.h"
#include "support/curl/curl_redact.h"
#include "tools/vinst_release/release_description.h"
#include "tools/vinst_release/release_progress.h"
#include "tools/vinst_release/release_text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QUrl>

#include <algorithm>
#include <numeric>
#include <optional>

namespace
{

using SAY = std::function<void(const QString& line)>;

quint64 size_of(const VINST_COMPONENT_LIST& components)
{
    return std::accumulate(components.begin(), components.end(), quint64{0},
                           [](quint64 bytes, const VINST_COMPONENT* component)
                           { return bytes + component->expected_size(); });
}

/// Shows the download manager's progress as the other commands show theirs.
class MIRROR_VIEW final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override
    {
        const auto verified =
            std::count_if(progress.begin(), progress.end(),
                          [](const VINST_COMPONENT_PROGRESS& one)
                          { return one.state == VINST_COMPONENT_PROGRESS::STATE::verified; });
        show(QStringLiteral("Fetching"), {static_cast<std::size_t>(verified), progress.size(),
                                          totals.downloaded, totals.total});
    }

    void show_pending_checks(int files, quint64 bytes) override
    {
        const auto pending = static_cast<std::size_t>(files);
        // The first call of a wait has all of them.
        m_files = std::max(m_files, pending);
        m_bytes = std::max(m_bytes, bytes);
        show(QStringLiteral("Verifying"), {m_files - pending, m_files, m_bytes - bytes, m_bytes});
        if (files == 0)
            end_line();
    }

    /// Clears the line before others are printed.
    void end_line()
    {
        m_line.reset();
        m_verb.clear();
        m_files = 0;
        m_bytes = 0;
    }

private:
    void show(const QString& verb, const RELEASE_FILE_PROGRESS& progress)
    {
        if (verb != m_verb)
            m_line.emplace(verb);
        m_verb = verb;
        m_line->show(progress);
    }

    QString m_verb;
    std::optional<RELEASE_PROGRESS_LINE> m_line;
    std::size_t m_files = 0;
    quint64 m_bytes = 0;
};

QStringList mirrored_platforms(const QString& platform)
{
    return platform.isEmpty() ? QStringList{"linux", "windows"} : QStringList{platform};
}

/// The names that a platform has, and each name that none of the platforms has as a fault.
QStringList names_of_platform(const VINST_RELEASE& release, const QString& text,
                              const QString& platform, const QStringList& platforms,
                              QStringList& faults)
{
    QStringList names;
    for (const QString& name : text.split(','))
    {
        const auto has = [&](const QString& one)
        {
            const QString full = name == main_product_short_name ? main_product_name : name;
            return release.find_component(full, one) != nullptr;
        };
        if (has(platform))
            names.append(name);
        else if (std::none_of(platforms.begin(), platforms.end(), has))
            faults.append("the release has no component " + quoted(name) +
                          (platforms.size() == 1 ? " for " + platform : QString()));
    }
    return names;
}

VINST_COMPONENT_LIST requested_components(VINST_RELEASE& release,
                                          const RELEASE_MIRROR_SETTINGS& settings,
                                          const QString& platform, QStringList& faults)
{
    if (settings.components.isEmpty())
        return components_of_kind(release, VINST_COMPONENT_KIND::download, platform);
    const QStringList names = names_of_platform(release, settings.components, platform,
                                                mirrored_platforms(settings.platform), faults);
    bool all_valid = true;
    return names.isEmpty() ? VINST_COMPONENT_LIST()
                           : resolve_components(release, names.join(','), platform, all_valid);
}

/// One component for each file, because several components, on the same platform or on both, may
/// share one.
VINST_COMPONENT_LIST mirrored_components(VINST_RELEASE& release,
                                         const RELEASE_MIRROR_SETTINGS& settings,
                                         RELEASE_MIRROR_RESULT& mirror)
{
    VINST_COMPONENT_LIST result;
    QHash<QString, const VINST_COMPONENT*> owners;
    for (const QString& platform : mirrored_platforms(settings.platform))
        for (VINST_COMPONENT* component :
             requested_components(release, settings, platform, mirror.faults))
        {
            const QString& filename = component->filename;
            if (filename.isEmpty())
                continue;
            if (const VINST_COMPONENT* owner = owners.value(filename))
            {
                if (owner->md5sum != component->md5sum)
                    mirror.faults.append("the manifest lists two checksums for the file " +
                                         quoted(filename));
                continue;
            }
            owners.insert(filename, component);
            if (component->size > 0)
                result.push_back(component);
            else
                mirror.notes.append("The file " + quoted(filename) +
                                    " is not in the mirror, because it has no size in the "
                                    "manifest: vinst could not verify it.");
        }
    mirror.faults.removeDuplicates();
    return result;
}

/// The path of the connection test's file in the mirror, without escapes; empty if the mirror can't
/// have it, because `--url` would not lead to it or because its name is not safe.
QString test_file_path(VINST_RELEASE& release)
{
    const QString below = path_below(release.test_url(), release.download_url());
    const QStringList parts = QUrl::fromPercentEncoding(below.toUtf8()).split('/');
    const bool is_safe = std::all_of(parts.begin(), parts.end(), is_safe_file_name);
    return is_safe && !below.contains('?') ? parts.join('/') : QString();
}

/// Without credentials and control characters.
QString shown_address(const QString& address)
{
    return without_control_characters(QString::fromStdString(curl_redact(utf8(address))));
}

/// Files of the release with the name of another file of the mirror.
QStringList clashing_names(const VINST_COMPONENT_LIST& components, const QString& test_file)
{
    QStringList faults;
    const QString manifest = QString::fromLatin1(release_manifest_file);
    for (const VINST_COMPONENT* component : components)
        for (const QString& taken : {manifest, test_file.section('/', 0, 0)})
            if (component->filename.compare(taken, Qt::CaseInsensitive) == 0)
                faults.append("the file " + quoted(component->filename) + " of " +
                              quoted(component->name) +
                              " has the name of another file of the mirror");
    return faults;
}

/// Fetches the connection test's file unless it is there. \return why not; otherwise empty
QString fetch_test_file(VINST_RELEASE& release, const QString& target, VINST_DOWNLOADER_VIEW& view)
{
    if (calc_md5sum(target) == release.test_md5sum())
        return {};
    const VINST_PRIVATE_DIR dir(QDir::tempPath());
    if (!dir.was_created())
        return "cannot create a directory in " + quoted(QDir::tempPath());
    const std::string path = dir.path_of("test_file");
    const VINST_FETCH_RESULT fetched =
        fetch_file({utf8(release.test_url()), path, release.proxy_info}, view);
    if (is_to_stop())
        return {};
    const QString local_path = QString::fromStdString(path);
    const QString md5 = calc_md5sum(local_path);
    if (!fetched.succeeded() || md5 != release.test_md5sum())
    {
        VINST_FILE_FAILURE failure;
        failure.title = QStringLiteral("The connection test's file");
        failure.url = release.test_url();
        failure.transfer = fetched.failure;
        failure.md5_listed = release.test_md5sum();
        failure.md5_found = md5;
        return failure_text(failure);
    }
    QFile file(local_path);
    if (!file.open(QIODevice::ReadOnly) || !QDir().mkpath(QFileInfo(target).path()))
        return "cannot write " + quoted(target);
    return write_whole_file(target, file.readAll());
}

/// \return the failure of each component that is not complete
QStringList failures_of(const VINST_COMPONENT_LIST& components)
{
    QStringList failures;
    for (const VINST_COMPONENT* component : components)
        failures.append(component->last_failure);
    return failures;
}

/// Fetches the files, with the same retries as an installation. \return the failures at the end
QStringList fetch_components(VINST_RELEASE& release, const VINST_COMPONENT_LIST& components,
                             int retry_minutes, MIRROR_VIEW& view, const SAY& say)
{
    using CLOCK = std::chrono::steady_clock;
    VINST_DOWNLOADER_MGR manager(release, view);
    manager.set_prepares_installers(false);
    manager.set_components(components, true);
    manager.wait_for_integrity_tasks();
    const CLOCK::time_point start = CLOCK::now();
    for (int attempt = 1;; ++attempt)
    {
        manager.download(vinst_parallel_downloads.initial);
        view.end_line();
        if (is_to_stop() || manager.failed_components().empty())
            return {};
        const QStringList failures = failures_of(manager.failed_components());
        const VINST_RETRY_DECISION decision =
            decide_retry(attempt, CLOCK::now() - start, std::chrono::minutes(retry_minutes),
                         manager.errors().fault());
        if (decision.action != VINST_RETRY_DECISION::ACTION::retry)
            return failures;
        for (const QString& failure : failures)
            say(failure);
        say("Retrying #" + QString::number(attempt) + " after " +
            QString::fromStdString(format_duration(static_cast<int>(decision.wait.count()))) +
            " ...");
        if (!wait_unless_stopped(decision.wait))
            return {};
    }
}

std::optional<QByteArray> bytes_of(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

}

RELEASE_MIRROR_RESULT mirror_release(const RELEASE_MIRROR_SETTINGS& settings, const SAY& say)
{
    RELEASE_MIRROR_RESULT result;
    // Read before anything is fetched: what is copied at the end is what was mirrored.
    const std::optional<QByteArray> manifest = bytes_of(settings.manifest);
    const std::unique_ptr<VINST_RELEASE> release =
        parse_manifest(settings.manifest, [&](const QByteArray& message)
                       { say(QString::fromUtf8(message).trimmed()); });
    if (release == nullptr || !manifest)
    {
        result.faults.append("cannot load the manifest " + quoted(settings.manifest));
        return result;
    }
    const VINST_COMPONENT_LIST components = mirrored_components(*release, settings, result);
    const QString test_file = test_file_path(*release);
    result.faults += clashing_names(components, test_file);
    const QDir directory(settings.directory);
    if (result.faults.isEmpty() && !directory.mkpath(QStringLiteral(".")))
        result.faults.append("cannot make the directory " + quoted(settings.directory));
    if (!result.faults.isEmpty())
        return result;

    release->set_download_dir(directory.absolutePath());
    if (test_file.isEmpty())
        result.notes.append("The connection test's file is not below the download address of the "
                            "release and is not in the mirror. The machines that use the mirror "
                            "must reach " +
                            shown_address(release->test_url()) + '.');
    if (!settings.url.isEmpty())
        release->use_mirror(settings.url);

    MIRROR_VIEW view;
    if (!test_file.isEmpty())
        if (const QString fault =
                fetch_test_file(*release, directory.absoluteFilePath(test_file), view);
            !fault.isEmpty())
            result.faults.append(fault);
    if (result.faults.isEmpty() && !is_to_stop())
        result.faults = fetch_components(*release, components, settings.retry_minutes, view, say);
    if (is_to_stop())
        result.faults = QStringList("stopped; run the command again to resume");
    if (result.faults.isEmpty())
        if (const QString fault =
                write_whole_file(directory.filePath(release_manifest_file), *manifest);
            !fault.isEmpty())
            result.faults.append(fault);
    result.files = components.size();
    result.bytes = size_of(components);
    return result;
}
