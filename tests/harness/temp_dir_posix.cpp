#include "tests/harness/temp_dir.h"

#include <cstdlib>
#include <stdexcept>
#include <sys/mount.h>

namespace fs = std::filesystem;

namespace
{

bool mount_tmpfs(const fs::path& where, std::uint64_t size, unsigned long flags)
{
    const std::string options = "mode=0700,size=" + std::to_string(size);
    return ::mount("tmpfs", where.c_str(), "tmpfs", MS_NOSUID | MS_NODEV | flags,
                   options.c_str()) == 0;
}

}

fs::path make_temp_dir()
{
    std::string name = (fs::temp_directory_path() / "vinst-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot create " + name);
    return name;
}

bool TMPFS_DIR::available()
{
    const TEMP_DIR probe;
    if (!mount_tmpfs(probe.path(), 4096, 0))
        return false;
    ::umount2(probe.path().c_str(), MNT_DETACH);
    return true;
}

TMPFS_DIR::TMPFS_DIR(std::uint64_t size, PROGRAMS programs)
{
    const fs::path where = m_parent.make_dir("disk");
    if (!mount_tmpfs(where, size, programs == PROGRAMS::forbidden ? MS_NOEXEC : 0))
        throw std::runtime_error("cannot mount a file system in memory at " + where.string());
}

TMPFS_DIR::~TMPFS_DIR()
{
    ::umount2(path().c_str(), MNT_DETACH);
}
