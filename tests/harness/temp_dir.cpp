#include "tests/harness/temp_dir.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

[[noreturn]] void fail(const std::string& what, const fs::path& path, int error_number)
{
    throw std::runtime_error(what + " " + path.string() + ": " +
                             std::generic_category().message(error_number));
}

/// Gives the owner all rights on every directory, so that its entries can be listed and removed.
void open_directories(const fs::path& directory)
{
    std::error_code ignored;
    fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, ignored))
    {
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored))
            open_directories(entry.path());
    }
}

bool mount_tmpfs(const fs::path& where, std::uint64_t size)
{
    const std::string options = "mode=0700,size=" + std::to_string(size);
    return ::mount("tmpfs", where.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
}

}

void write_file(const fs::path& path, std::string_view bytes, unsigned mode)
{
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream)
        fail("cannot write", path, errno);
    if (::chmod(path.c_str(), mode) != 0)
        fail("cannot set the mode of", path, errno);
}

std::string read_file(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        fail("cannot read", path, errno);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> read_lines(const fs::path& path)
{
    std::istringstream stream(read_file(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> list_tree(const fs::path& directory)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory))
    {
        const bool is_directory = entry.is_directory() && !entry.is_symlink();
        names.push_back(entry.path().lexically_relative(directory).string() +
                        (is_directory ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    return names;
}

void remove_tree(const fs::path& directory)
{
    std::error_code error;
    fs::remove_all(directory, error);
    if (!error)
        return;
    open_directories(directory);
    fs::remove_all(directory, error);
}

TEMP_DIR::TEMP_DIR()
{
    std::string name = (fs::temp_directory_path() / "vinst-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        fail("cannot make", name, errno);
    m_path = name;
}

TEMP_DIR::~TEMP_DIR()
{
    remove_tree(m_path);
}

fs::path TEMP_DIR::write(const fs::path& relative, std::string_view bytes, unsigned mode) const
{
    write_file(m_path / relative, bytes, mode);
    return m_path / relative;
}

fs::path TEMP_DIR::make_dir(const fs::path& relative) const
{
    fs::create_directories(m_path / relative);
    return m_path / relative;
}

std::string TEMP_DIR::read(const fs::path& relative) const
{
    return read_file(m_path / relative);
}

bool TMPFS_DIR::available()
{
    const TEMP_DIR probe;
    if (!mount_tmpfs(probe.path(), 4096))
        return false;
    ::umount2(probe.path().c_str(), MNT_DETACH);
    return true;
}

TMPFS_DIR::TMPFS_DIR(std::uint64_t size)
{
    const fs::path where = m_parent.make_dir("disk");
    if (!mount_tmpfs(where, size))
        fail("cannot mount a file system in memory at", where, errno);
}

TMPFS_DIR::~TMPFS_DIR()
{
    ::umount2(path().c_str(), MNT_DETACH);
}
