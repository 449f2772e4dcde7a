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
