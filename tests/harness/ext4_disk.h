#pragma once

#include "tests/harness/temp_dir.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// An ext4 file system on a loop device, whose power can be cut. It is mounted in a separate mount
/// namespace: it is visible only to the thread that creates it and to the processes and threads
/// that this thread starts. The mount and the loop device are removed with the object, or with the
/// last of these processes.
class EXT4_DISK final
{
public:
    /// Why one can't be created here; empty if it can.
    static std::string obstacle();

    /// \param size      bytes of the file system
    /// \param capacity  bytes beyond which every write to the device fails; 0: no limit
    /// Throws std::runtime_error on failure.
    explicit EXT4_DISK(std::uint64_t size, std::uint64_t capacity = 0);
    ~EXT4_DISK();
    EXT4_DISK(const EXT4_DISK&) = delete;
    EXT4_DISK& operator=(const EXT4_DISK&) = delete;

    [[nodiscard]] std::filesystem::path path() const { return m_dir / "disk"; }

    /// Drops everything that has not been written to the device, as a power cut does. Every later
    /// access fails until the file system is mounted again.
    void cut_power() const;
    /// Mounts it again after a power cut. No file on it may still be open.
    void mount_again() const;

private:
    class MOUNT_NAMESPACE
    {
    public:
        MOUNT_NAMESPACE();
        ~MOUNT_NAMESPACE();
        MOUNT_NAMESPACE(const MOUNT_NAMESPACE&) = delete;
        MOUNT_NAMESPACE& operator=(const MOUNT_NAMESPACE&) = delete;

    private:
        int m_outside = -1; ///< the original namespace, to return to
    };

    [[nodiscard]] std::filesystem::path image() const { return m_dir / "backing/image"; }
    void mount() const;

    TEMP_DIR m_dir;
    MOUNT_NAMESPACE m_namespace;
};
