#pragma once

#include <cstdint>
#ifndef Q_MOC_RUN // moc of Qt 5.15.2 fails on this header of GCC 10
#include <filesystem>
#endif
#include <functional>
#include <optional>
#include <string>
#include <string_view>

using FIO_PATH = std::filesystem::path;

/// Identifies a state of a file without reading its content.
struct FIO_FILE_IDENTITY
{
    std::uint64_t size = 0;    ///< bytes
    std::int64_t modified = 0; ///< last change of the content, in a platform-specific unit
    std::int64_t changed = 0; ///< the same, or of owner, rights or names; can't be set by a program
    std::uint64_t owner = 0;  ///< user number; 0 on platforms without them
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    /// Whether size, modification time and place are the same; rights may differ.
    bool has_content_of(const FIO_FILE_IDENTITY& other) const
    {
        return size == other.size && modified == other.modified && device == other.device &&
               inode == other.inode && owner == other.owner;
    }

    bool operator==(const FIO_FILE_IDENTITY& other) const
    {
        return has_content_of(other) && changed == other.changed;
    }
};

/// Files and directories by path. Paths are UTF-8. No operation throws.
///
/// On Windows, a virus scanner or an indexer may lock a file for a moment. Moving, removing and
/// waiting until a file is readable are therefore retried there for up to 10 s.
class FIO_FILE_SYSTEM
{
public:
    FIO_FILE_SYSTEM() = delete;

    /// An unpredictable path in `dir` that does not exist yet.
    static std::string get_tmp_path(const std::string& dir);

    static bool exists(const std::string& path);

    /// Moves a file, also across file systems, in which case `to` appears complete or not at all.
    ///
    /// \param overwrite  false: of several processes that move a file there at the same time, one
    ///                   succeeds
    /// \return false when nothing was moved: `from` is still there
    static bool move(const std::string& from, const std::string& to, bool overwrite);

    /// \param is_to_stop  called between attempts while the file is locked; true ends them
    /// \return whether the path does not exist afterwards
    static bool remove_if_exists(const std::string& path,
                                 const std::function<bool()>& is_to_stop = {});

    /// The same, but does not wait for a file that is locked: such a file is not removed.
    static bool remove_unless_held(const std::string& path);

    /// \param mode  permission bits, such as 0700; no effect on platforms without them
    static bool chmod(const std::string& path, int mode);

    /// Creates a new file, readable and writable only by its owner. Fails if it exists.
    static bool create_private_file(const std::string& path);
    static bool create_private_directory(const std::string& path);

    /// Whether the path is a directory, not a link to one, that belongs to this process's user and
    /// that no other can write. On Windows, whether it is a directory and not a link.
    static bool is_own_directory(const std::string& path);

    /// The identity of a regular file; nothing when there is no such file, or when it belongs to
    /// another user than this process's and root, who could change it at any time.
    static std::optional<FIO_FILE_IDENTITY> identity(const std::string& path);

    /// Waits until the file can be opened for reading, on platforms where others can lock it.
    static void wait_until_readable(const std::string& path,
                                    const std::function<bool()>& is_to_stop = {});

private:
    enum class RENAMING
    {
        done,
        other_file_system,
        failed
    };

    static RENAMING rename(const FIO_PATH& from, const FIO_PATH& to, bool overwrite);
    static bool copy_content(const FIO_PATH& from, const FIO_PATH& to);
};

/// The path in the form that system calls expect; on Windows, longer than 260 characters too.
FIO_PATH fio_path(std::string_view utf8);
