#pragma once

#include "support/fio/fio_file_system.h"

#include <QString>

#include <optional>

struct VINST_COMPONENT;

/// The result of an integrity check.
struct VINST_FILE_CHECK
{
    bool passed = false;
    std::optional<FIO_FILE_IDENTITY> file = {}; ///< the state of the file that was hashed
    QString md5 = {};     ///< the checksum found; empty when the file couldn't be read
    QString problem = {}; ///< why a file with the right checksum didn't pass; otherwise empty
};

/// The state of a component's local file: its size, whether it is complete, and whether an
/// integrity check has passed. This state is stored nowhere else, and only this class decides
/// whether the file on disk is the verified one.
///
/// A check counts for the download directory in which it began. Changing the release's directory
/// invalidates it, and changing back makes it count again. Lives on the release's thread.
class VINST_COMPONENT_FILE
{
public:
    explicit VINST_COMPONENT_FILE(const VINST_COMPONENT& component) : m_component(component) {}

    QString path() const;
    /// Whether the file exists on disk now, complete or not.
    bool exists() const;
    /// The size at the last measurement.
    quint64 bytes_on_disk() const { return m_bytes_on_disk; }
    /// Whether the file had its expected size when it was last measured or counted.
    bool is_complete() const { return m_download_complete; }
    /// Whether a check in the current download directory is running.
    bool is_being_checked() const { return m_is_being_checked && is_of_current_dir(); }
    /// Whether a check in the current download directory has finished.
    bool is_checked() const;
    bool has_passed() const { return is_checked() && m_last_check.passed; }
    /// The result of the last check, which counts only while `is_checked`.
    const VINST_FILE_CHECK& last_check() const { return m_last_check; }
    /// Complete, but with the wrong content.
    bool is_corrupted() const;
    /// Whether the file that is on disk now is the one that passed the last check.
    bool is_verified() const;

    /// Measures the file on disk. A file that has changed since its check counts as unchecked.
    void measure();
    /// Updates the size between two measurements. A file that is shorter than its size in the
    /// manifest counts as unchecked.
    void count(quint64 bytes);

    /// Records that a check has started in the current download directory.
    void begin_check();
    /// Stores the result, unless the directory has changed since the check began.
    void finish_check(const VINST_FILE_CHECK& check);
    void forget_check();
    /// The file that is on disk now is not the one that was checked: it counts as corrupted.
    void reject();

    /// Makes a verified ".run" file executable only by its owner; other files keep their mode.
    void make_installer_executable();

private:
    std::optional<FIO_FILE_IDENTITY> identity() const;
    bool is_of_current_dir() const;

    const VINST_COMPONENT& m_component;
    quint64 m_bytes_on_disk = 0;
    bool m_download_complete = false;
    bool m_is_being_checked = false;
    bool m_integrity_checked = false;
    QString m_checked_download_dir;
    VINST_FILE_CHECK m_last_check;
};
