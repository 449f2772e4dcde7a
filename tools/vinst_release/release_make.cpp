#include "tools/vinst_release/release_make.h"

#include "tools/vinst_release/release_description.h"
#include "tools/vinst_release/release_manifest.h"
#include "tools/vinst_release/release_text.h"

#include <QCryptographicHash>
#include <QDir>
#include <QHash>
#include <QRegularExpression>
#include <QUrl>

#include <vector>

namespace
{

const QByteArray test_file_text =
    "This file shows that the downloads of the release are within reach.\n";

/// One job per file of the release, however many components share it.
std::vector<RELEASE_FILE_JOB> copy_jobs(const RELEASE_DESCRIPTION& release, const QDir& out,
                                        QStringList& filenames)
{
    std::vector<RELEASE_FILE_JOB> jobs;
    QHash<QString, bool> seen;
    for (const RELEASE_DESCRIPTION_COMPONENT& component : release.components)
    {
        const QString filename = component.filename();
        if (filename.isEmpty() || seen.contains(filename))
            continue;
        seen.insert(filename, true);
        filenames.append(filename);
        jobs.push_back({component.file, out.filePath(filename)});
    }
    return jobs;
}

/// Whether an address is for testing on this machine; others could not fetch anything from it.
bool leads_to_this_machine(const QString& address)
{
    static const QRegularExpression loopback(
        QStringLiteral(R"(^(127\.\d+\.\d+\.\d+|0\.0\.0\.0|::1|::|(.+\.)?localhost)$)"));
    return loopback.match(QUrl(address).host()).hasMatch();
}

}

RELEASE_MAKE_RESULT make_release(const QString& description, const QString& out,
                                 const QString& download_url, const RELEASE_FILE_OBSERVER& observer)
{
    RELEASE_MAKE_RESULT result;
    std::optional<RELEASE_DESCRIPTION> release =
        read_release_description(description, result.faults);
    if (!release)
        return result;
    if (!download_url.isEmpty())
        release->download_url = download_url;

    for (const QString& address : {release->download_url, release->test_url})
        if (leads_to_this_machine(address))
            result.faults.append("the address " + quoted(address) +
                                 " leads to this machine only. Leave it out, and try the release "
                                 "with vinst --url");
    if (!result.faults.isEmpty())
        return result;

    const QDir out_dir(out);
    if (!out_dir.mkpath(QStringLiteral(".")))
    {
        result.faults.append("cannot make the directory " + quoted(out));
        return result;
    }
    QStringList filenames;
    const std::vector<RELEASE_FILE_JOB> jobs = copy_jobs(*release, out_dir, filenames);
    const std::vector<RELEASE_FILE_RESULT> files = process_files(jobs, observer);

    QHash<QString, RELEASE_FILE_SUMS> sums;
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        if (!files[i].error.isEmpty())
            result.faults.append(files[i].error);
        sums.insert(filenames[static_cast<int>(i)], files[i].sums);
        result.files_copied += files[i].copied ? 1 : 0;
        result.bytes += files[i].sums.size;
    }
    result.components = release->components.size();
    result.files = files.size();
    if (!result.faults.isEmpty())
        return result;

    const QByteArray test_md5 =
        QCryptographicHash::hash(test_file_text, QCryptographicHash::Md5).toHex();
    QString fault = write_whole_file(out_dir.filePath(release_test_file), test_file_text);
    if (fault.isEmpty())
        fault = write_whole_file(out_dir.filePath(release_manifest_file),
                                 manifest_text(*release, sums, test_md5));
    if (!fault.isEmpty())
        result.faults.append(fault);
    return result;
}
