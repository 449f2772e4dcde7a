#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <system_error>

/// A file that is open for flushing to the disk, so that its data survives a power failure.
///
/// The system reports a failed write once, and only to those who have the file open at that time.
/// To verify a file, open this handle first and flush last, so that no failure in between is
/// missed.
class FIO_FLUSH_HANDLE final
{
public:
    /// Duplicates an open descriptor or handle, which is still owned by the caller. The duplicate
    /// holds the file's lock until it is closed, too.
    explicit FIO_FLUSH_HANDLE(std::intptr_t file);
    /// Opens the file. On Windows, waits up to 5 minutes if it is locked: another process may be
    /// flushing it. A file without write permission counts as flushed there, because flushing needs
    /// that permission.
    ///
    /// \param path        UTF-8
    /// \param is_to_stop  called while waiting; true ends the wait
    explicit FIO_FLUSH_HANDLE(const std::string& path,
                              const std::function<bool()>& is_to_stop = {});
    ~FIO_FLUSH_HANDLE();
    FIO_FLUSH_HANDLE(const FIO_FLUSH_HANDLE&) = delete;
    FIO_FLUSH_HANDLE& operator=(const FIO_FLUSH_HANDLE&) = delete;

    [[nodiscard]] bool is_open() const { return m_file != no_file; }

    /// Waits until the file's bytes are on the disk. After a failure, the system's cache of the
    /// file is dropped where possible, so that a reader sees what is on the disk.
    /// \return no error when the bytes are on the disk, or when the file system can't flush or is
    ///         read-only (EINVAL, ENOTSUP, EROFS); otherwise the system's error, such as EIO, or
    ///         the reason why the file could not be opened
    [[nodiscard]] std::error_code flush() const;

private:
    static constexpr std::intptr_t no_file = -1;

    std::intptr_t m_file = no_file; ///< the system's number of it, or handle to it
    std::error_code m_error;        ///< of the opening
};

/// The same for the entries of a directory. Does nothing on Windows, where flushing a file also
/// flushes its name.
[[nodiscard]] std::error_code fio_flush_directory(const std::string& path);
