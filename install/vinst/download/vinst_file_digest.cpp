#include "install/vinst/download/vinst_file_digest.h"

#include "install/vinst/base/vinst_text.h"

#include <QFile>

#include <vector>

namespace
{

constexpr int read_block = 256 * 1024; // bytes

bool is_same_file(const FIO_FILE_IDENTITY& a, const FIO_FILE_IDENTITY& b)
{
    return a.device == b.device && a.inode == b.inode;
}

}

void VINST_FILE_DIGEST::start_again()
{
    m_hash.reset();
    m_bytes_read = 0;
    m_file.reset();
}

void VINST_FILE_DIGEST::start_again_if_replaced()
{
    const auto file = FIO_FILE_SYSTEM::identity(utf8(m_path));
    const bool continues =
        m_file && file && is_same_file(*m_file, *file) && file->size >= m_bytes_read;
    if (!continues)
        start_again();
    m_file = file;
}

bool VINST_FILE_DIGEST::read_to_end(const std::function<bool()>& is_cancelled,
                                    const VINST_READ_CALLBACK& on_read)
{
    start_again_if_replaced();
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ||
        !file.seek(static_cast<qint64>(m_bytes_read)))
        return false;

    std::vector<char> block(read_block);
    qint64 count = 0;
    while ((count = file.read(block.data(), read_block)) > 0)
    {
        if (is_cancelled && is_cancelled())
            return false;
        m_hash.addData(block.data(), static_cast<int>(count));
        m_bytes_read += static_cast<quint64>(count);
        if (on_read)
            on_read(m_bytes_read);
    }
    return count == 0;
}
