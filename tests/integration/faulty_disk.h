#pragma once

/// While it lives, the flushes to the disk of this process don't end, or fail.
class FAULTY_DISK
{
public:
    enum class FAULT
    {
        never_ready, ///< flushes end when the object goes
        io_error     ///< EIO
    };

    explicit FAULTY_DISK(FAULT fault);
    ~FAULTY_DISK();
    FAULTY_DISK(const FAULTY_DISK&) = delete;
    FAULTY_DISK& operator=(const FAULTY_DISK&) = delete;
};

/// The flushes that this process has begun, faulty ones included.
int begun_file_flushes();
int begun_directory_flushes();
