#include "tests/harness/ext4_disk.h"

#include "tests/harness/child_process.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/types.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace
{

// From the kernel's fs/ext4/ext4.h; no installed header has them.
constexpr unsigned long ext4_shutdown = _IOR('X', 125, __u32);
constexpr __u32 without_log_flush = 2;

constexpr std::uint64_t probe_size = 8 * 1024 * 1024;

void check(bool succeeded, const std::string& what)
{
    if (!succeeded)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

}

EXT4_DISK::MOUNT_NAMESPACE::MOUNT_NAMESPACE()
    : m_outside(::open("/proc/thread-self/ns/mnt", O_RDONLY | O_CLOEXEC))
{
    check(::unshare(CLONE_NEWNS) == 0, "unshare");
    check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount /");
}

EXT4_DISK::MOUNT_NAMESPACE::~MOUNT_NAMESPACE()
{
    if (::setns(m_outside, CLONE_NEWNS) != 0)
        ::perror("leaving a mount namespace");
    ::close(m_outside);
}

std::string EXT4_DISK::obstacle()
{
    if (::geteuid() != 0)
        return "mounting a file system needs root";
    try
    {
        const EXT4_DISK probe(probe_size);
        probe.cut_power();
        return {};
    }
    catch (const std::runtime_error& error)
    {
        return std::string("ext4 can't be mounted on a loop device here: ") + error.what();
    }
}

EXT4_DISK::EXT4_DISK(std::uint64_t size, std::uint64_t capacity)
{
    const std::filesystem::path backing = m_dir.make_dir("backing");
    const std::string limit = "size=" + std::to_string(capacity);
    if (capacity > 0)
        check(::mount("tmpfs", backing.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, limit.c_str()) == 0,
              "mount tmpfs");
    m_dir.make_dir("disk");
    write_file(image(), "");
    std::filesystem::resize_file(image(), size);
    // Write the tables and the journal now, not in the background during the test.
    run_tool({"mkfs.ext4", {"-q", "-F", "-m", "0", "-E", "lazy_itable_init=0", image()}});
    mount();
}

EXT4_DISK::~EXT4_DISK()
{
    ::umount2(path().c_str(), MNT_DETACH);
    ::umount2((m_dir / "backing").c_str(), MNT_DETACH);
}

void EXT4_DISK::mount() const
{
    // mount creates a loop device that is removed with the mount.
    run_tool({"mount", {"-t", "ext4", "-o", "loop,nosuid,nodev", image(), path()}});
}

void EXT4_DISK::cut_power() const
{
    const int root = ::open(path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(root >= 0, "open " + path().string());
    const int result = ::ioctl(root, ext4_shutdown, &without_log_flush);
    const int error = errno;
    ::close(root);
    errno = error;
    check(result == 0, "EXT4_IOC_SHUTDOWN");
}

void EXT4_DISK::mount_again() const
{
    check(::umount2(path().c_str(), 0) == 0, "umount " + path().string());
    mount();
}
