#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class FIO_FLUSH_HANDLE;

/// A regular file that a single writer appends to, and shortens at most to undo that.
///
/// Opening takes a lock against other processes and other objects in this one, which is held until
/// the file is closed. A link at the path is not followed. A file that belongs to another user or
/// has a second name counts as missing, and is replaced by a new one. Not thread-safe.
class FIO_APPEND_FILE
{
public:
    enum class OPENING
    {
        existing_only,
        create_if_missing
    };

    FIO_APPEND_FILE() = default;
    ~FIO_APPEND_FILE();
    FIO_APPEND_FILE(const FIO_APPEND_FILE&) = delete;
    FIO_APPEND_FILE& operator=(const FIO_APPEND_FILE&) = delete;

    /// \return whether the file is open; otherwise `error()` has the reason, or is empty when there
    ///         was no file under `existing_only`
    bool open(const std::string& path, OPENING opening);
    bool is_open() const { return m_file != no_file; }
    void close();

    /// As passed to `open`; kept after closing.
    const std::string& path() const { return m_path; }

    /// Bytes in the file; follows each append and `shorten`.
    std::uint64_t size() const { return m_size; }

    /// Appends the bytes; if not all of them fit, writes those that do.
    /// \return whether all of them were written; otherwise `error()` has the reason
    bool append(const char* data, std::size_t size);

    /// Appends bytes of another file, without copying them where the file system can share them
    /// between two files. Fewer than `most` when that one ends before.
    /// \param path    of the other one, UTF-8
    /// \param offset  of the first byte in it
    /// \return whether anything was appended; otherwise `error()` has the reason
    bool append_from(const std::string& path, std::uint64_t offset, std::size_t most);

    /// Exchanges the open files of two objects, with their locks.
    void swap(FIO_APPEND_FILE& other) noexcept;

    /// Removes everything after the first `size` bytes; does nothing if there is nothing.
    /// \return whether it is removed; otherwise `error()` has the reason
    [[nodiscard]] bool shorten(std::uint64_t size);

    /// For flushing the file on another thread; null when the file isn't open or the process has
    /// run out of descriptors or handles.
    [[nodiscard]] std::unique_ptr<FIO_FLUSH_HANDLE> flush_handle() const;

    /// A message for the user that names the file.
    const std::string& error() const { return m_error; }

private:
    static constexpr std::intptr_t no_file = -1;

    /// The platform's own call.
    static void close_file(std::intptr_t file);
    bool fail(const std::string& action, const std::string& path, const std::string& reason);

    std::string m_path;
    std::string m_error;
    std::uint64_t m_size = 0;
    std::intptr_t m_file = no_file; ///< file descriptor, or handle on Windows
};
