#include "install/vinst/base/vinst_child_process.h"

#include "install/vinst/base/vinst_child_process_platform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr unsigned first_inherited = STDERR_FILENO + 1;

/// What the system call getdents64 returns; the C library doesn't declare it. The name follows.
struct DIRECTORY_ENTRY
{
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t size; ///< of this entry with its name
    std::uint8_t type;
};

/// \return the number that the name consists of; 0 for another name
unsigned number_of(const char* name)
{
    unsigned number = 0;
    for (; *name >= '0' && *name <= '9'; ++name)
        number = number * 10 + static_cast<unsigned>(*name - '0');
    return *name == '\0' ? number : 0;
}

void close_at_exec(unsigned descriptor)
{
    ::fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC);
}

}

// Not a loop up to the limit of descriptors, which may be a thousand million, or have been lowered
// below those that are open.
bool close_listed_descriptors_at_exec()
{
    const int list = ::open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (list < 0)
        return false;
    std::array<char, 4096> entries;
    constexpr std::size_t name_offset = offsetof(DIRECTORY_ENTRY, type) + 1;
    long bytes = 0;
    while ((bytes = ::syscall(SYS_getdents64, list, entries.data(), entries.size())) > 0)
    {
        for (long at = 0; at < bytes;)
        {
            DIRECTORY_ENTRY entry;
            std::memcpy(&entry, entries.data() + at, name_offset);
            const unsigned descriptor = number_of(entries.data() + at + name_offset);
            if (descriptor >= first_inherited)
                close_at_exec(descriptor);
            at += entry.size;
        }
    }
    ::close(list);
    return bytes == 0;
}

// Only async-signal-safe functions may be called here. The descriptors are not closed at once,
// because Qt reports over one of them that the program can't be started.
void VINST_CHILD_PROCESS::setupChildProcess()
{
    // glibc has close_range since 2.34, and the kernel's headers CLOSE_RANGE_CLOEXEC since 5.11.
    constexpr unsigned cloexec = 1U << 2;
    if (::syscall(__NR_close_range, first_inherited, ~0U, cloexec) == 0)
        return;
    // The kernel is older than 5.11. Without /proc, at least the usual numbers are covered.
    constexpr unsigned usual_limit = 1024;
    if (!close_listed_descriptors_at_exec())
        for (unsigned descriptor = first_inherited; descriptor < usual_limit; ++descriptor)
            close_at_exec(descriptor);
}
