#include "tests/harness/temp_dir.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

[[noreturn]] void fail(const std::string& what, const fs::path& path, int error_number)
{
    throw std::runtime_error(what + " " + path.string() + ": " +
                             std::generic_category().message(error_number));
}

/// Gives the owner all permissions on every directory, so that its entries can be listed and
/// removed.
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

}

void write_file(const fs::path& path, std::string_view bytes, unsigned mode)
{
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream)
        fail("cannot write", path, errno);
    std::error_code error;
    fs::permissions(path, static_cast<fs::perms>(mode), error);
    if (error)
        fail("cannot set the mode of", path, error.value());
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
        names.push_back(entry.path().lexically_relative(directory).generic_u8string() +
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

TEMP_DIR::TEMP_DIR() : m_path(make_temp_dir()) {}

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
