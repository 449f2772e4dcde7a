#include "install/vinst/release/vinst_component_file.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"

#include <QDir>
#include <QFileInfo>

QString VINST_COMPONENT_FILE::path() const
{
    return m_component.release->download_dir() + QDir::separator() + m_component.filename;
}

std::optional<FIO_FILE_IDENTITY> VINST_COMPONENT_FILE::identity() const
{
    return FIO_FILE_SYSTEM::identity(utf8(path()));
}

bool VINST_COMPONENT_FILE::exists() const
{
    return !m_component.filename.isEmpty() && QFileInfo(path()).isFile();
}

bool VINST_COMPONENT_FILE::is_of_current_dir() const
{
    return m_checked_download_dir == m_component.release->download_dir();
}

bool VINST_COMPONENT_FILE::is_checked() const
{
    return m_integrity_checked && is_of_current_dir();
}

bool VINST_COMPONENT_FILE::is_corrupted() const
{
    return m_download_complete && is_checked() && !m_last_check.passed;
}

bool VINST_COMPONENT_FILE::is_verified() const
{
    return m_download_complete && has_passed() && m_last_check.file &&
           m_last_check.file == identity();
}

void VINST_COMPONENT_FILE::measure()
{
    const auto file = identity();
    m_bytes_on_disk = file ? file->size : 0;
    if (is_checked() && !(file == m_last_check.file))
        m_integrity_checked = false;
    count(m_bytes_on_disk);
}

void VINST_COMPONENT_FILE::count(quint64 bytes)
{
    const quint64 size = m_component.expected_size();
    m_download_complete = size > 0 && bytes >= size;
    if (bytes < size)
        m_integrity_checked = false;
}

void VINST_COMPONENT_FILE::begin_check()
{
    m_checked_download_dir = m_component.release->download_dir();
    m_is_being_checked = true;
    m_integrity_checked = false;
}

void VINST_COMPONENT_FILE::finish_check(const VINST_FILE_CHECK& check)
{
    m_is_being_checked = false;
    if (!is_of_current_dir())
        return;
    m_integrity_checked = true;
    m_last_check = check;
}

void VINST_COMPONENT_FILE::reject()
{
    finish_check({false, identity(), {}, QStringLiteral("it has changed since it was verified")});
}

void VINST_COMPONENT_FILE::forget_check()
{
    m_is_being_checked = false;
    if (is_of_current_dir())
        m_integrity_checked = false;
}

void VINST_COMPONENT_FILE::make_installer_executable()
{
    if (!path().endsWith(".run"))
        return;
    const bool was_verified = is_verified();
    FIO_FILE_SYSTEM::chmod(utf8(path()), 0700);
    const auto file = identity();
    if (was_verified && file && file->has_content_of(*m_last_check.file))
        m_last_check.file = file;
}
