#pragma once

#include <QDir>
#include <QString>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// If the setup of a test fails, the harness throws std::runtime_error: GoogleTest reports it as the
// test's failure, with its text.

/// Converts a text with paths written with '/' to the program's form on this platform.
inline QString native(const QString& text)
{
    return QDir::toNativeSeparators(text);
}
inline std::string native(const std::string& text)
{
    return native(QString::fromStdString(text)).toStdString();
}
inline std::string native(const char* text)
{
    return native(std::string(text));
}

/// Writes a complete file and creates its parent directories; `mode` as for chmod.
void write_file(const std::filesystem::path& path, std::string_view bytes, unsigned mode = 0644);
std::string read_file(const std::filesystem::path& path);
std::vector<std::string> read_lines(const std::filesystem::path& path);

/// Everything below a directory, relative to it and sorted; directories end with '/'. Links are
/// listed but not followed.
std::vector<std::string> list_tree(const std::filesystem::path& directory);

/// Removes a directory with everything in it, including write-protected entries. Links aren't
/// followed.
void remove_tree(const std::filesystem::path& directory);

/// The platform's part of TEMP_DIR: creates a directory that only its owner can access.
std::filesystem::path make_temp_dir();

/// A directory that only its owner can access (mode 0700); removed with this object.
class TEMP_DIR final
{
public:
    TEMP_DIR();
    ~TEMP_DIR();
    TEMP_DIR(const TEMP_DIR&) = delete;
    TEMP_DIR& operator=(const TEMP_DIR&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::string str() const { return m_path.string(); }
    [[nodiscard]] QString qstr() const { return QString::fromStdString(m_path.string()); }
    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& relative) const
    {
        return (m_path / relative).make_preferred();
    }

    /// The absolute path of what was created.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes,
                                unsigned mode = 0644) const;
    std::filesystem::path make_dir(const std::filesystem::path& relative) const;

    [[nodiscard]] std::string read(const std::filesystem::path& relative) const;
    [[nodiscard]] std::vector<std::string> tree() const { return list_tree(m_path); }

private:
    std::filesystem::path m_path;
};

/// A small file system in memory that can be filled up: mounted by the constructor, which throws if
/// mounting isn't permitted, and unmounted by the destructor.
class TMPFS_DIR final
{
public:
    /// Whether this process may mount one; otherwise a reason to skip a test.
    static bool available();

    enum class PROGRAMS
    {
        allowed,
        forbidden ///< mounted with "noexec"
    };

    explicit TMPFS_DIR(std::uint64_t size, PROGRAMS programs = PROGRAMS::allowed);
    ~TMPFS_DIR();
    TMPFS_DIR(const TMPFS_DIR&) = delete;
    TMPFS_DIR& operator=(const TMPFS_DIR&) = delete;

    [[nodiscard]] std::filesystem::path path() const { return m_parent / "disk"; }

private:
    TEMP_DIR m_parent;
};
