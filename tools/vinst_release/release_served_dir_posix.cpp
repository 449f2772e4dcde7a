#include "tools/vinst_release/release_served_dir.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace
{

/// The segments of a request's path; nothing for an invalid path.
std::optional<std::vector<std::string>> path_parts(const std::string& path)
{
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos)
        return std::nullopt;
    std::vector<std::string> parts;
    for (std::size_t begin = 1; begin <= path.size();)
    {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        parts.push_back(path.substr(begin, end - begin));
        if (parts.back().empty() || parts.back() == "." || parts.back() == "..")
            return std::nullopt;
        begin = end + 1;
    }
    return parts;
}

}

RELEASE_SERVED_FILE::RELEASE_SERVED_FILE(int descriptor) : m_descriptor(descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return;
    m_regular = true;
    m_size = static_cast<std::uint64_t>(status.st_size);
    m_entity_tag = '"' + std::to_string(status.st_ino) + '-' + std::to_string(status.st_size) +
                   '-' + std::to_string(status.st_mtim.tv_sec) + '.' +
                   std::to_string(status.st_mtim.tv_nsec) + '"';
}

RELEASE_SERVED_FILE::~RELEASE_SERVED_FILE()
{
    close(m_descriptor);
}

std::size_t RELEASE_SERVED_FILE::read_at(std::uint64_t offset, char* into, std::size_t size) const
{
    ssize_t got = 0;
    do
        got = pread(m_descriptor, into, size, static_cast<off_t>(offset));
    while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

RELEASE_SERVED_DIR::~RELEASE_SERVED_DIR()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

std::string RELEASE_SERVED_DIR::open(const std::string& directory)
{
    m_descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return m_descriptor >= 0 ? std::string()
                             : "cannot serve '" + directory + "': " + std::strerror(errno);
}

std::unique_ptr<RELEASE_SERVED_FILE> RELEASE_SERVED_DIR::open_file(const std::string& path) const
{
    const std::optional<std::vector<std::string>> parts = path_parts(path);
    if (!parts || parts->empty())
        return nullptr;
    int directory = m_descriptor;
    for (std::size_t i = 0; i < parts->size(); ++i)
    {
        // O_NONBLOCK, because opening a pipe for reading would wait for a writer.
        const bool is_last = i + 1 == parts->size();
        const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | (is_last ? O_NONBLOCK : O_DIRECTORY);
        const int next = openat(directory, (*parts)[i].c_str(), flags);
        if (directory != m_descriptor)
            close(directory);
        if (next < 0)
            return nullptr;
        directory = next;
    }
    auto file = std::make_unique<RELEASE_SERVED_FILE>(directory);
    return file->is_regular() ? std::move(file) : nullptr;
}

std::optional<RELEASE_BYTE_RANGE> resolve_byte_range(std::int64_t first, std::int64_t last,
                                                     std::uint64_t file_size)
{
    if (first < 0 && last < 0)
        return std::nullopt;
    if (first < 0)
    {
        const std::uint64_t size = std::min(static_cast<std::uint64_t>(last), file_size);
        return size == 0 ? std::nullopt : std::optional(RELEASE_BYTE_RANGE{file_size - size, size});
    }
    const auto begin = static_cast<std::uint64_t>(first);
    const std::uint64_t end =
        last < 0 ? file_size : std::min(static_cast<std::uint64_t>(last) + 1, file_size);
    return begin < end ? std::optional(RELEASE_BYTE_RANGE{begin, end - begin}) : std::nullopt;
}
