#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// A file of a served directory, open for reading. May be read by one thread at a time.
class RELEASE_SERVED_FILE final
{
public:
    explicit RELEASE_SERVED_FILE(int descriptor);
    ~RELEASE_SERVED_FILE();
    RELEASE_SERVED_FILE(const RELEASE_SERVED_FILE&) = delete;
    RELEASE_SERVED_FILE& operator=(const RELEASE_SERVED_FILE&) = delete;

    /// Whether it is a regular file; the other members are valid only if it is.
    [[nodiscard]] bool is_regular() const { return m_regular; }
    [[nodiscard]] std::uint64_t size() const { return m_size; }
    /// Changes when the content changes.
    [[nodiscard]] const std::string& entity_tag() const { return m_entity_tag; }

    /// \return bytes read; 0 at the end of the file or when it can't be read
    std::size_t read_at(std::uint64_t offset, char* into, std::size_t size) const;

private:
    int m_descriptor;
    bool m_regular = false;
    std::uint64_t m_size = 0;
    std::string m_entity_tag;
};

/// The directory that a server serves files from. Opening a file follows no links below it and
/// rejects ".." and empty path segments, so that nothing outside it is ever opened. Thread-safe.
class RELEASE_SERVED_DIR final
{
public:
    RELEASE_SERVED_DIR() = default;
    ~RELEASE_SERVED_DIR();
    RELEASE_SERVED_DIR(const RELEASE_SERVED_DIR&) = delete;
    RELEASE_SERVED_DIR& operator=(const RELEASE_SERVED_DIR&) = delete;

    /// \return an error message; empty on success
    std::string open(const std::string& directory);

    /// \param path  of a request, decoded; begins with '/'
    /// \return nothing when there is no such regular file
    [[nodiscard]] std::unique_ptr<RELEASE_SERVED_FILE> open_file(const std::string& path) const;

private:
    int m_descriptor = -1;
};

struct RELEASE_BYTE_RANGE
{
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// The bytes of a file that a range selects; nothing when the range can't be satisfied.
///
/// \param first  position of the first byte; -1 when `last` counts bytes from the end
/// \param last   position of the last byte, which may be beyond the end; -1 for the end
std::optional<RELEASE_BYTE_RANGE> resolve_byte_range(std::int64_t first, std::int64_t last,
                                                     std::uint64_t file_size);
