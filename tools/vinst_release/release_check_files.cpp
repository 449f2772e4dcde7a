#include "tools/vinst_release/release_check_files.h"

#include "tools/vinst_release/release_text.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QVariant>

#include <optional>

namespace
{

/// The size as the program reads it, from a number or a numeric string.
std::optional<quint64> told_size(const RELEASE_ELEMENT& element)
{
    bool ok = false;
    const qint64 size = element.object.value("size").toVariant().toLongLong(&ok);
    return ok && size >= 0 ? std::optional(static_cast<quint64>(size)) : std::nullopt;
}

/// The path of the connection test's file below the release's URL; empty when it is elsewhere.
QString test_file(const RELEASE_ELEMENT& release)
{
    const QString base = release.text("download_url") + '/';
    const QString url = release.text("test_url");
    const QString name = url.startsWith(base) ? url.mid(base.size()) : QString();
    return base.size() > 1 && !name.contains('/') && !name.contains('?') ? name : QString();
}

QString expected_file(const RELEASE_ELEMENT& element)
{
    return element.is_release() ? test_file(element) : element.filename();
}

/// Reads each file once, however many elements name it.
class FILE_CHECK
{
public:
    FILE_CHECK(const QString& dir, RELEASE_FAULTS& faults) : m_dir(dir), m_faults(faults) {}

    void gather(const std::vector<RELEASE_ELEMENT>& elements)
    {
        for (const RELEASE_ELEMENT& element : elements)
        {
            const QString name = expected_file(element);
            if (name.isEmpty() || m_places.contains(name))
                continue;
            const QString path = m_dir.filePath(name);
            if (!QFileInfo(path).isFile())
            {
                m_places.insert(name, -1);
                continue;
            }
            m_places.insert(name, static_cast<int>(m_jobs.size()));
            m_jobs.push_back({path, QString()});
        }
    }

    std::size_t measure(const RELEASE_FILE_OBSERVER& observer)
    {
        m_results = process_files(m_jobs, observer);
        return m_results.size();
    }

    void compare(const RELEASE_ELEMENT& element)
    {
        const QString name = expected_file(element);
        if (name.isEmpty())
            return;
        const int place = m_places.value(name);
        if (place < 0)
        {
            const bool exists = QFileInfo::exists(m_dir.filePath(name));
            m_faults.add(element,
                         "its file " + quoted(name) + (exists ? " is not a file" : " is missing"));
            return;
        }
        const RELEASE_FILE_RESULT& result = m_results[static_cast<std::size_t>(place)];
        if (!result.error.isEmpty())
            m_faults.add(element, result.error);
        else
            compare(element, name, result.sums);
    }

private:
    void compare(const RELEASE_ELEMENT& element, const QString& name, const RELEASE_FILE_SUMS& sums)
    {
        const std::optional<quint64> size = told_size(element);
        if (size && *size != sums.size)
            m_faults.add(element, "its file " + quoted(name) + " has " +
                                      QString::number(sums.size) + " bytes, not " +
                                      QString::number(*size));
        compare_sum(element, name, element.is_release() ? "test_md5sum" : "md5sum", "MD5",
                    sums.md5);
        compare_sum(element, name, "sha1sum", "SHA-1", sums.sha1);
    }

    void compare_sum(const RELEASE_ELEMENT& element, const QString& name, const char* key,
                     const char* sum_name, const QByteArray& measured)
    {
        const QString told = element.text(key);
        if (!told.isEmpty() && told != QString::fromLatin1(measured))
            m_faults.add(element, "its file " + quoted(name) + " has the " +
                                      QLatin1String(sum_name) + ' ' + measured + ", not " +
                                      quoted(told));
    }

    const QDir m_dir;
    RELEASE_FAULTS& m_faults;
    QHash<QString, int> m_places; ///< of each file's job; -1 when there is no such file
    std::vector<RELEASE_FILE_JOB> m_jobs;
    std::vector<RELEASE_FILE_RESULT> m_results;
};

}

std::size_t check_files(const std::vector<RELEASE_ELEMENT>& elements, const QString& dir,
                        const RELEASE_FILE_OBSERVER& observer, RELEASE_FAULTS& faults)
{
    if (!QFileInfo(dir).isDir())
    {
        faults.add(quoted(dir) + " is not a directory");
        return 0;
    }
    FILE_CHECK check(dir, faults);
    check.gather(elements);
    const std::size_t files_read = check.measure(observer);
    for (const RELEASE_ELEMENT& element : elements)
        check.compare(element);
    return files_read;
}
