#include "tests/harness/temp_dir.h"

#include "support/fio/fio_file_system.h"

#include <stdexcept>

namespace fs = std::filesystem;

fs::path make_temp_dir()
{
    const std::string name = FIO_FILE_SYSTEM::get_tmp_path(fs::temp_directory_path().u8string());
    if (!FIO_FILE_SYSTEM::create_private_directory(name))
        throw std::runtime_error("cannot create " + name);
    return fs::u8path(name);
}

bool TMPFS_DIR::available()
{
    return false;
}

TMPFS_DIR::TMPFS_DIR(std::uint64_t, PROGRAMS)
{
    throw std::runtime_error("this platform has no file systems in memory");
}

TMPFS_DIR::~TMPFS_DIR() = default;
