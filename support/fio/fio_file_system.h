#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

using FIO_PATH = std::filesystem::path;

/// What tells one state of a file from another without reading it.
struct FIO_FILE_IDENTITY
{
    std::uint64_t size = 0;    ///< bytes
    std::int64_t modified = 0; ///< last change of the content, in the platform's own unit
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    bool operator==(const FIO_FILE_IDENTITY& other) const
    {
        return size == other.size && modified == other.modified && device == other.device &&
               inode == other.inode;
    }
};

/// Files and directories by path. Paths are UTF-8. No operation throws.
///
/// On Windows a virus scanner or an indexer may hold a file for a moment: moving and removing are
/// tried again for up to 10 s there, and so is what waits until a file is readable.
class FIO_FILE_SYSTEM
{
public:
    FIO_FILE_SYSTEM() = delete;

    /// A name inside `dir` that does not exist yet and can't be guessed.
    static std::string get_tmp_path(const std::string& dir);

    static bool exists(const std::string& path);

    /// Moves a file, across file systems too; then `to` appears whole or not at all.
    /// \return false when nothing was moved: `from` is still there
    static bool move(const std::string& from, const std::string& to, bool overwrite);

    /// \param is_to_stop  asked between two attempts where others hold the file; true ends them
    /// \return whether the path does not exist afterwards
    static bool remove_if_exists(const std::string& path,
                                 const std::function<bool()>& is_to_stop = {});

    /// The same without waiting for others who hold the file: then it stays.
    static bool remove_unless_held(const std::string& path);

    /// \param mode  permission bits, as in 0700; no effect where the platform has none
    static bool chmod(const std::string& path, int mode);

    /// Creates a file that did not exist, readable and writable by its owner alone.
    static bool create_private_file(const std::string& path);
    static bool create_private_directory(const std::string& path);

    /// The identity of a regular file; nothing when there is none at the path.
    static std::optional<FIO_FILE_IDENTITY> identity(const std::string& path);

    /// Waits for others to let the file go, as far as the platform lets them keep readers out.
    static void wait_until_readable(const std::string& path,
                                    const std::function<bool()>& is_to_stop = {});

private:
    enum class RENAMING
    {
        done,
        other_file_system,
        failed
    };

    /// Replaces `to`.
    static RENAMING rename(const FIO_PATH& from, const FIO_PATH& to);
    static bool copy_content(const FIO_PATH& from, const FIO_PATH& to);
};

/// The path in the form that the system's calls take; on Windows also beyond 260 letters.
FIO_PATH fio_path(std::string_view utf8);
