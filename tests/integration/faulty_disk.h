#pragma once

/// During its lifetime, this process's flushes to the disk don't end, or fail.
class FAULTY_DISK
{
public:
    enum class FAULT
    {
        never_ready, ///< flushes end when the object is destroyed
        io_error     ///< EIO
    };

    explicit FAULTY_DISK(FAULT fault);
    ~FAULTY_DISK();
    FAULTY_DISK(const FAULTY_DISK&) = delete;
    FAULTY_DISK& operator=(const FAULTY_DISK&) = delete;
};

/// The number of flushes that this process has started, including faulty ones.
int begun_file_flushes();
int begun_directory_flushes();
