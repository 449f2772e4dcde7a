#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// One component of a release on one platform, as in the description file.
struct RELEASE_DESCRIPTION_COMPONENT
{
    QString kind = QStringLiteral("download"); ///< or "install"
    QString name;
    QString platform; ///< "linux" or "windows"
    QString file;     ///< absolute path; empty when there is nothing to download
    QString title;
    QString desc;
    QString parent;
    QStringList dependency;
    bool selected = false;
    bool standalone = false;
    bool addon = false;
    std::optional<quint64> installsize; ///< bytes; the file's size if not given
    QString cmd_exe;
    QString cmd_options;

    /// The name of the file below the download URL; empty without a file.
    QString filename() const;
    /// "component 'veltrin_base' (linux)".
    QString label() const;
};

/// A release as in the description file. The components are in the file's order, parents before
/// their children; every relation was resolved on the component's own platform.
struct RELEASE_DESCRIPTION
{
    QString edition;
    QString version;
    QString download_url; ///< without a trailing slash; empty for the program's built-in one
    QString test_url;
    QString installdir_linux;
    QString installdir_windows;
    std::vector<RELEASE_DESCRIPTION_COMPONENT> components;
};

/// The connection test's file, which `make` writes into every release.
extern const char* const release_test_file;
extern const char* const release_manifest_file;

/// Reads and checks a description file. Paths in it are relative to it.
///
/// \param faults  receives all faults, one sentence each
/// \return nothing if there was a fault
std::optional<RELEASE_DESCRIPTION> read_release_description(const QString& path,
                                                            QStringList& faults);
