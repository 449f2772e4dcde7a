#include "support/fio/fio_append_file.h"

#include "support/fio/fio_flush.h"

#include <utility>

FIO_APPEND_FILE::~FIO_APPEND_FILE()
{
    close();
}

void FIO_APPEND_FILE::close()
{
    if (is_open())
        close_file(std::exchange(m_file, no_file));
}

std::unique_ptr<FIO_FLUSH_HANDLE> FIO_APPEND_FILE::flush_handle() const
{
    if (!is_open())
        return nullptr;
    auto handle = std::make_unique<FIO_FLUSH_HANDLE>(m_file);
    return handle->is_open() ? std::move(handle) : nullptr;
}

void FIO_APPEND_FILE::swap(FIO_APPEND_FILE& other) noexcept
{
    m_path.swap(other.m_path);
    m_error.swap(other.m_error);
    std::swap(m_size, other.m_size);
    std::swap(m_file, other.m_file);
}

bool FIO_APPEND_FILE::fail(const std::string& action, const std::string& path,
                           const std::string& reason)
{
    m_error = "Cannot " + action + ' ' + path + ": " + reason;
    return false;
}
