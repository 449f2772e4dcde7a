#include "support/fio/fio_append_file.h"

#include "support/fio/fio_flush.h"

std::unique_ptr<FIO_FLUSH_HANDLE> FIO_APPEND_FILE::flush_handle() const
{
    if (!is_open())
        return nullptr;
    auto handle = std::make_unique<FIO_FLUSH_HANDLE>(m_file);
    return handle->is_open() ? std::move(handle) : nullptr;
}
