#pragma once

#include <QString>

#include <functional>

class QWidget;

/// The desktop's own dialog for choosing a directory.
class AFCQ_NATIVE_FILE_DLG
{
public:
    explicit AFCQ_NATIVE_FILE_DLG(QWidget* parent) : m_parent(parent) {}

    /// Asks for an existing directory; files aren't shown.
    /// \param start  where it begins
    /// \return empty when the user cancels
    QString get_existing_directory(const QString& start) const;

    /// For tests, which have no user: answers in the dialog's place. An empty function puts the
    /// dialog back.
    using ANSWER = std::function<QString(const QString& start)>;
    static void answer_with(ANSWER answer);

private:
    QWidget* m_parent;
};
