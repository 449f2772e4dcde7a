#pragma once

#include <QString>

#include <string>

/// A new directory that nobody else can enter, inside another one, so that neither another run nor
/// another user's leftover stands in the way of a file's name. Gone with the object.
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
