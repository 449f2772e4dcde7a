#pragma once

#include <QString>

#include <string>

/// A new directory inside another one, accessible only to this user, so that file names in it can't
/// clash with those of other runs or users. Removed by the destructor.
class VINST_PRIVATE_DIR
{
public:
    explicit VINST_PRIVATE_DIR(const QString& parent);
    ~VINST_PRIVATE_DIR();
    VINST_PRIVATE_DIR(const VINST_PRIVATE_DIR&) = delete;
    VINST_PRIVATE_DIR& operator=(const VINST_PRIVATE_DIR&) = delete;

    /// \param name  a plain file name
    std::string path_of(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
};
