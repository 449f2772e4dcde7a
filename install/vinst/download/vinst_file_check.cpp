#include "install/vinst/download/vinst_file_check.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_component.h"
#include "support/fio/fio_flush.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <vector>

namespace
{

constexpr int most_looks = 3;
constexpr int read_block = 256 * 1024; // bytes

/// Empty when the file doesn't exist or can't be read.
QString md5_on_disk(const QString& path, const QString& expected,
                    const std::function<bool()>& is_cancelled, const VINST_READ_CALLBACK& on_read)
{
    if (!QFile::exists(path))
        return {};
    FIO_FILE_SYSTEM::wait_until_readable(utf8(path), is_cancelled);
    const QString actual = calc_md5sum(path, is_cancelled, on_read);
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

QString calc_md5sum(const QString& path, const std::function<bool()>& is_cancelled,
                    const VINST_READ_CALLBACK& on_read)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};

    QCryptographicHash hash(QCryptographicHash::Md5);
    std::vector<char> block(read_block);
    qint64 count = 0;
    while ((count = file.read(block.data(), read_block)) > 0)
    {
        if (is_cancelled && is_cancelled())
            return {};
        hash.addData(block.data(), static_cast<int>(count));
        if (on_read)
            on_read(static_cast<quint64>(file.pos()));
    }
    if (count < 0)
        return {};

    // For short times the number is in microseconds although the label is ms: scripts that read
    // logs depend on it.
    const qint64 microseconds = elapsed.nsecsElapsed() / 1000;
    if (microseconds < 1'000'000)
        run_log().debug("calc_md5sum for file: %s, took: %d ms.", utf8(path), microseconds);
    else
        run_log().debug("calc_md5sum for file: %s, took: %d sec.", utf8(path),
                        microseconds / 1'000'000);
    return QString::fromLatin1(hash.result().toHex());
}

bool check_md5(const VINST_COMPONENT* component, const std::function<bool()>& is_cancelled)
{
    const QString& expected = component->md5sum;
    return !expected.isEmpty() &&
           md5_on_disk(component->file.path(), expected, is_cancelled, {}) == expected;
}

VINST_FILE_CHECK check_file(const QString& path, const QString& md5sum,
                            const std::function<bool()>& is_cancelled,
                            const VINST_READ_CALLBACK& on_read)
{
    // Kept open while the file is read, so that it reports every write that fails meanwhile.
    const FIO_FLUSH_HANDLE flush_handle(utf8(path), is_cancelled);
    VINST_FILE_CHECK check;
    std::optional<FIO_FILE_IDENTITY> afterwards;
    // Another run may make the same file executable meanwhile, once. Whoever changes its content
    // can reset the modification time, so that only another look tells the difference.
    for (int look = 0; look < most_looks; ++look)
    {
        check.file = FIO_FILE_SYSTEM::identity(utf8(path));
        check.md5 = md5_on_disk(path, md5sum, is_cancelled, on_read);
        if (md5sum.isEmpty() || check.md5 != md5sum)
            return check;
        afterwards = FIO_FILE_SYSTEM::identity(utf8(path));
        if (check.file == afterwards || !check.file || !afterwards ||
            !check.file->has_content_of(*afterwards))
            break;
    }
    if (!check.file || !(check.file == afterwards))
        check.problem = QStringLiteral("it has changed while it was being verified");
    else
        check.problem = flush_problem(path, flush_handle);
    check.passed = check.problem.isEmpty();
    return check;
}
