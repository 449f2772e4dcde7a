#pragma once

#include <QString>

class QWidget;

/// The desktop's native dialog for choosing a directory.
class AFCQ_NATIVE_FILE_DLG
{
public:
    explicit AFCQ_NATIVE_FILE_DLG(QWidget* parent) : m_parent(parent) {}

    /// Asks for an existing directory. Files are not shown.
    /// \param start  the initial directory
    /// \return empty when the user cancels
    QString get_existing_directory(const QString& start) const;

private:
    QWidget* m_parent;
};
