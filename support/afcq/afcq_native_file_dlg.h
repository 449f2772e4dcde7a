#pragma once

#include <QString>

#include <functional>

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

    /// For tests: replaces the dialog by a function. An empty function restores the dialog.
    using ANSWER = std::function<QString(const QString& start)>;
    static void answer_with(ANSWER answer);

private:
    QWidget* m_parent;
};
