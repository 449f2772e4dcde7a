#include "tests/integration/faulty_disk.h"

#include "tests/harness/wait_until.h"

#include <atomic>
#include <cerrno>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::atomic<bool> is_never_ready{false};
std::atomic<bool> has_io_errors{false};
std::atomic<int> files{0};
std::atomic<int> directories{0};

}

/// Replaces the C library's function in this test program.
extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor)
{
    struct stat status = {};
    ::fstat(descriptor, &status);
    ++(S_ISDIR(status.st_mode) ? directories : files);
    const bool is_ready = wait_until([] { return !is_never_ready; });
    if (!is_ready || has_io_errors)
    {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

FAULTY_DISK::FAULTY_DISK(FAULT fault)
{
    is_never_ready = fault == FAULT::never_ready;
    has_io_errors = fault == FAULT::io_error;
}

FAULTY_DISK::~FAULTY_DISK()
{
    is_never_ready = false;
    has_io_errors = false;
}

int begun_file_flushes()
{
    return files;
}

int begun_directory_flushes()
{
    return directories;
}
