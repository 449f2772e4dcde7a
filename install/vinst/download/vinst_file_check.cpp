#include "install/vinst/download/vinst_file_check.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_component.h"
#include "support/fio/fio_flush.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

namespace
{

constexpr int most_looks = 3;

/// For short times the number is in microseconds although the label is ms: scripts that read logs
/// depend on it.
void log_duration(const QString& path, const QElapsedTimer& elapsed)
{
    const qint64 microseconds = elapsed.nsecsElapsed() / 1000;
    if (microseconds < 1'000'000)
        run_log().debug("calc_md5sum for file: %s, took: %d ms.", utf8(path), microseconds);
    else
        run_log().debug("calc_md5sum for file: %s, took: %d sec.", utf8(path),
                        microseconds / 1'000'000);
}

/// Empty when the file can't be read or `is_cancelled` returned true.
QString md5_to_end(VINST_FILE_DIGEST& digest, const std::function<bool()>& is_cancelled,
                   const VINST_READ_CALLBACK& on_read)
{
    QElapsedTimer elapsed;
    elapsed.start();
    if (!digest.read_to_end(is_cancelled, on_read))
        return {};
    log_duration(digest.path(), elapsed);
    return digest.md5();
}

/// Empty when the file doesn't exist or can't be read.
QString md5_on_disk(VINST_FILE_DIGEST& digest, const QString& expected,
                    const std::function<bool()>& is_cancelled, const VINST_READ_CALLBACK& on_read)
{
    const QString& path = digest.path();
    if (!QFile::exists(path))
        return {};
    FIO_FILE_SYSTEM::wait_until_readable(utf8(path), is_cancelled);
    const QString actual = md5_to_end(digest, is_cancelled, on_read);
    if (actual != expected)
        run_log().debug("MD5 => %s, actual md5:%s, expected md5:%s", utf8(path), utf8(actual),
                        utf8(expected));
    return actual;
}

/// Flushes a file and its directory entry, so that a file reported as verified survives a power
/// failure. \return the reason if it fails; otherwise empty
QString flush_problem(const QString& path, const FIO_FLUSH_HANDLE& file)
{
    std::error_code error = file.flush();
    if (!error)
        error = fio_flush_directory(utf8(QFileInfo(path).path()));
    if (!error)
        return {};
    run_log().error("Cannot flush %s to the disk: %s", utf8(path), error.message());
    return "it cannot be flushed to the disk: " + QString::fromStdString(error.message());
}

}

QString calc_md5sum(const QString& path)
{
    VINST_FILE_DIGEST digest(path);
    return md5_to_end(digest, {}, {});
}

bool check_md5(const VINST_COMPONENT* component, const std::function<bool()>& is_cancelled)
{
    const QString& expected = component->md5sum;
    VINST_FILE_DIGEST digest(component->file.path());
    return !expected.isEmpty() && md5_on_disk(digest, expected, is_cancelled, {}) == expected;
}

VINST_FILE_CHECK check_file(VINST_FILE_DIGEST& digest, const QString& md5sum,
                            const std::function<bool()>& is_cancelled,
                            const VINST_READ_CALLBACK& on_read)
{
    const QString& path = digest.path();
    // Kept open while the file is read, so that it reports every write that fails meanwhile.
    const FIO_FLUSH_HANDLE flush_handle(utf8(path), is_cancelled);
    VINST_FILE_CHECK check;
    std::optional<FIO_FILE_IDENTITY> afterwards;
    // Another run may make the same file executable meanwhile, once. Whoever changes its content
    // can reset the modification time, so that only another look tells the difference.
    for (int look = 0; look < most_looks; ++look)
    {
        const bool was_followed = digest.bytes_read() > 0;
        check.file = FIO_FILE_SYSTEM::identity(utf8(path));
        check.md5 = md5_on_disk(digest, md5sum, is_cancelled, on_read);
        const bool matches = !md5sum.isEmpty() && check.md5 == md5sum;
        if (!matches && !was_followed)
            return check;
        afterwards = FIO_FILE_SYSTEM::identity(utf8(path));
        const bool is_settled = check.file == afterwards || !check.file || !afterwards ||
                                !check.file->has_content_of(*afterwards);
        if (matches && is_settled)
            break;
        // What was hashed while the file grew may have been overwritten since: no verdict on that.
        digest.start_again();
    }
    if (!check.file || !(check.file == afterwards))
        check.problem = QStringLiteral("it has changed while it was being verified");
    else
        check.problem = flush_problem(path, flush_handle);
    check.passed = check.problem.isEmpty();
    return check;
}
