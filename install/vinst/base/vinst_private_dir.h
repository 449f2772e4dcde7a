#pragma once

#include <QString>

#include <string>

/// A new directory inside another one, accessible only to this user, so that file names in it can't
/// clash with those of other runs or users. Removed by the destructor. If it can't be created, that
/// is logged, and nothing may be written to it.
class VINST_PRIVATE_DIR
{
public:
    explicit VINST_PRIVATE_DIR(const QString& parent);
    ~VINST_PRIVATE_DIR();
    VINST_PRIVATE_DIR(const VINST_PRIVATE_DIR&) = delete;
    VINST_PRIVATE_DIR& operator=(const VINST_PRIVATE_DIR&) = delete;

    [[nodiscard]] bool was_created() const { return m_was_created; }

    /// \param name  a plain file name
    std::string path_of(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
    bool m_was_created;
};
