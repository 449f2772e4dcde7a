#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <system_error>

/// A file that is open for being flushed to the disk, where a power cut doesn't reach its bytes.
///
/// The system reports a failed write once, to those who have the file open then. So whoever reads a
/// file to verify it opens the handle first, and flushes last: what fails in between isn't missed.
class FIO_FLUSH_HANDLE final
{
public:
    /// Duplicates an open descriptor or handle, which stays the caller's. The duplicate keeps the
    /// file's lock until it goes, too.
    explicit FIO_FLUSH_HANDLE(std::intptr_t file);
    /// Opens the file. On Windows waits up to 5 minutes for others who hold it: they may be
    /// flushing it. A file that this user may not write counts as flushed there, since only what
    /// can be written can be flushed.
    ///
    /// \param path        UTF-8
    /// \param is_to_stop  asked while waiting; true ends it
    explicit FIO_FLUSH_HANDLE(const std::string& path,
                              const std::function<bool()>& is_to_stop = {});
    ~FIO_FLUSH_HANDLE();
    FIO_FLUSH_HANDLE(const FIO_FLUSH_HANDLE&) = delete;
    FIO_FLUSH_HANDLE& operator=(const FIO_FLUSH_HANDLE&) = delete;

    [[nodiscard]] bool is_open() const { return m_file != no_file; }

    /// Waits until the file's bytes are on the disk. After a failure the system's cache of the file
    /// is dropped, where the platform can do that: who reads the file then sees what the disk has.
    /// \return no error when the bytes are on the disk, or when this file system can't flush or is
    ///         read-only (EINVAL, ENOTSUP, EROFS); else the system's error, as EIO, or why the file
    ///         could not be opened
    [[nodiscard]] std::error_code flush() const;

private:
    static constexpr std::intptr_t no_file = -1;

    std::intptr_t m_file = no_file; ///< the system's number of it, or handle to it
    std::error_code m_error;        ///< of the opening
};

/// The same for the names in a directory. Does nothing on Windows, where the file system keeps a
/// file's name with the file.
[[nodiscard]] std::error_code fio_flush_directory(const std::string& path);
