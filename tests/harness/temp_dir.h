#pragma once

#include <QDir>
#include <QString>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Where the set-up of a test fails, the harness throws std::runtime_error: GoogleTest reports it as
// the test's failure, with its text.

/// A text with paths, written with '/', as the program says it on this platform.
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

/// Writes a whole file, making the directories above it; `mode` as for chmod.
void write_file(const std::filesystem::path& path, std::string_view bytes, unsigned mode = 0644);
std::string read_file(const std::filesystem::path& path);
std::vector<std::string> read_lines(const std::filesystem::path& path);

/// Everything below a directory, relative to it and sorted; directories end with '/'. Links are
/// listed and not followed.
std::vector<std::string> list_tree(const std::filesystem::path& directory);

/// Removes a directory with all below it, write-protected children included. Links aren't followed.
void remove_tree(const std::filesystem::path& directory);

/// The platform's half of TEMP_DIR: makes a directory of its owner's alone.
std::filesystem::path make_temp_dir();

/// A directory of its owner's alone (mode 0700) that goes with this object.
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

    /// The absolute path of what was made.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes,
                                unsigned mode = 0644) const;
    std::filesystem::path make_dir(const std::filesystem::path& relative) const;

    [[nodiscard]] std::string read(const std::filesystem::path& relative) const;
    [[nodiscard]] std::vector<std::string> tree() const { return list_tree(m_path); }

private:
    std::filesystem::path m_path;
};

/// A small file system in memory that fills up: mounted by the constructor, which throws where
/// mounting isn't permitted, unmounted by the destructor.
class TMPFS_DIR final
{
public:
    /// Whether this process may mount one; a reason to skip a test where it may not.
    static bool available();

    explicit TMPFS_DIR(std::uint64_t size);
    ~TMPFS_DIR();
    TMPFS_DIR(const TMPFS_DIR&) = delete;
    TMPFS_DIR& operator=(const TMPFS_DIR&) = delete;

    [[nodiscard]] std::filesystem::path path() const { return m_parent / "disk"; }

private:
    TEMP_DIR m_parent;
};
