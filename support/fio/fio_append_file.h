#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class FIO_FLUSH_HANDLE;

/// A regular file that grows at its end and belongs to one writer.
///
/// Opening takes a lock that other processes, and other openings in this one, respect; it goes with
/// the object. A link in the file's place is not followed. Not thread-safe.
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

    /// \return whether the object is open; when it isn't, `error()` says why, and is empty when
    ///         there simply was no file under `existing_only`
    bool open(const std::string& path, OPENING opening);
    bool is_open() const;
    void close();

    /// As it was opened, also after it was closed.
    const std::string& path() const { return m_path; }

    /// Bytes in the file; counts up with each append.
    std::uint64_t size() const { return m_size; }

    /// Appends the bytes; what fits is written even when not all of it does.
    /// \return whether all of them were written; `error()` says why not
    bool append(const char* data, std::size_t size);

    /// For flushing the file on another thread; null when the file isn't open, or when the process
    /// has no descriptor or handle left.
    [[nodiscard]] std::unique_ptr<FIO_FLUSH_HANDLE> flush_handle() const;

    /// A sentence for the user that names the file.
    const std::string& error() const { return m_error; }

private:
    static constexpr std::intptr_t no_file = -1;

    std::string m_path;
    std::string m_error;
    std::uint64_t m_size = 0;
    std::intptr_t m_file = no_file; ///< the system's number of it, or handle to it
};
