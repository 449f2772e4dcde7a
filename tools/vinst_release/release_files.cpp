#include "tools/vinst_release/release_files.h"

#include "tools/vinst_release/release_text.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <tbb/parallel_for.h>

#include <atomic>
#include <chrono>
#include <future>

namespace
{

constexpr qint64 block_size = 1 << 20;
constexpr std::chrono::milliseconds observer_pause(200);

QString fault(const QString& what, const QString& path, const QFileDevice& file)
{
    return what + ' ' + quoted(path) + ": " + file.errorString();
}

/// Removes a link at the path of a file to write, so that its target is not overwritten.
void remove_link(const QString& path)
{
    if (QFileInfo(path).isSymLink())
        QFile::remove(path);
}

/// Both checksums of the bytes read so far.
class MEASURE
{
public:
    void add(const QByteArray& bytes)
    {
        m_md5.addData(bytes);
        m_sha1.addData(bytes);
        m_size += static_cast<quint64>(bytes.size());
    }

    RELEASE_FILE_SUMS sums() const
    {
        return {m_size, m_md5.result().toHex(), m_sha1.result().toHex()};
    }

    quint64 size() const { return m_size; }

private:
    QCryptographicHash m_md5{QCryptographicHash::Md5};
    QCryptographicHash m_sha1{QCryptographicHash::Sha1};
    quint64 m_size = 0;
};

/// Runs the jobs on oneTBB's threads. Only the atomic counters are shared between threads; a result
/// is written by one worker and read after all workers have finished.
class FILE_WORK
{
public:
    explicit FILE_WORK(const std::vector<RELEASE_FILE_JOB>& jobs)
        : m_jobs(jobs), m_results(jobs.size())
    {
        for (const RELEASE_FILE_JOB& job : jobs)
            m_bytes += static_cast<quint64>(QFileInfo(job.source).size());
    }

    std::vector<RELEASE_FILE_RESULT> run(const RELEASE_FILE_OBSERVER& observer)
    {
        // A separate thread works with oneTBB's on the jobs, because this one only observes.
        std::future<void> work = std::async(std::launch::async, [this] { process_all(); });
        while (work.wait_for(observer_pause) == std::future_status::timeout)
            observer(progress());
        work.get();
        observer(progress());
        return std::move(m_results);
    }

private:
    RELEASE_FILE_PROGRESS progress() const
    {
        return {m_files_done, m_jobs.size(), m_bytes_done, m_bytes};
    }

    void process_all()
    {
        const auto process_one = [this](std::size_t i)
        {
            process(m_jobs[i], m_results[i]);
            ++m_files_done;
        };
        // One job at a time per worker, because files differ in size by orders of magnitude.
        tbb::parallel_for(std::size_t{0}, m_jobs.size(), process_one, tbb::simple_partitioner());
    }

    void process(const RELEASE_FILE_JOB& job, RELEASE_FILE_RESULT& result)
    {
        QFile source(job.source);
        if (!source.open(QIODevice::ReadOnly))
            result.error = fault("cannot read", job.source, source);
        else if (job.target.isEmpty())
            measure(source, result);
        else if (!is_same_as_target(source, job.target, result))
            copy(source, job.target, result);
    }

    void measure(QFile& source, RELEASE_FILE_RESULT& result)
    {
        MEASURE measured;
        if (read_all(source, measured, result, [](const QByteArray&) { return true; }))
            result.sums = measured.sums();
    }

    /// Hashes the source while the target has the same content. Also true when reading the source
    /// failed, because a copy would fail as well.
    bool is_same_as_target(QFile& source, const QString& path, RELEASE_FILE_RESULT& result)
    {
        QFile target(path);
        if (QFileInfo(path).isSymLink() || target.size() != source.size() ||
            !target.open(QIODevice::ReadOnly))
            return false;
        MEASURE measured;
        bool same = true;
        const bool whole = read_all(source, measured, result,
                                    [&](const QByteArray& block)
                                    {
                                        same = target.read(block.size()) == block;
                                        return same;
                                    });
        if (whole)
            result.sums = measured.sums();
        if (!same)
            m_bytes_done -= measured.size();
        return same;
    }

    void copy(QFile& source, const QString& path, RELEASE_FILE_RESULT& result)
    {
        QSaveFile target(path);
        if (!source.seek(0))
        {
            result.error = fault("cannot read", source.fileName(), source);
            return;
        }
        remove_link(path);
        if (!target.open(QIODevice::WriteOnly))
        {
            result.error = fault("cannot write", path, target);
            return;
        }
        MEASURE measured;
        const auto write = [&](const QByteArray& block)
        { return target.write(block) == block.size(); };
        const bool whole = read_all(source, measured, result, write);
        if (!result.error.isEmpty())
            return;
        if (!whole || !target.commit())
        {
            result.error = fault("cannot write", path, target);
            return;
        }
        result.sums = measured.sums();
        result.copied = true;
    }

    /// Reads from the start until the end, or until a block is rejected or can't be read.
    template <typename TAKE>
    bool read_all(QFile& source, MEASURE& measured, RELEASE_FILE_RESULT& result, const TAKE& take)
    {
        QByteArray block;
        do
        {
            block.resize(static_cast<int>(block_size));
            const qint64 got = source.read(block.data(), block_size);
            if (got < 0)
            {
                result.error = fault("cannot read", source.fileName(), source);
                return false;
            }
            block.resize(static_cast<int>(got));
            measured.add(block);
            m_bytes_done += static_cast<quint64>(got);
            if (!take(block))
                return false;
        } while (!block.isEmpty());
        return true;
    }

    const std::vector<RELEASE_FILE_JOB>& m_jobs;
    std::vector<RELEASE_FILE_RESULT> m_results;
    quint64 m_bytes = 0;
    std::atomic<std::size_t> m_files_done = 0;
    std::atomic<quint64> m_bytes_done = 0;
};

}

std::vector<RELEASE_FILE_RESULT> process_files(const std::vector<RELEASE_FILE_JOB>& jobs,
                                               const RELEASE_FILE_OBSERVER& observer)
{
    return FILE_WORK(jobs).run(observer);
}

QString write_whole_file(const QString& path, const QByteArray& bytes)
{
    remove_link(path);
    QFile present(path);
    if (present.size() == bytes.size() && present.open(QIODevice::ReadOnly) &&
        present.readAll() == bytes)
        return {};
    QSaveFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    return written ? QString() : fault("cannot write", path, file);
}
