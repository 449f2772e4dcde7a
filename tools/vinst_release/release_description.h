#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// One component of a release on one platform, as its author describes it.
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
    std::optional<quint64> installsize; ///< bytes; the file's own size where it isn't told
    QString cmd_exe;
    QString cmd_options;

    /// The name of the file below the download address; empty without a file.
    QString filename() const;
    /// "component 'veltrin_base' (linux)".
    QString label() const;
};

/// A release as its author describes it. Its components stand in the description's order, parents
/// before their children; every relation was found on the component's own platform.
struct RELEASE_DESCRIPTION
{
    QString edition;
    QString version;
    QString download_url; ///< without a slash at its end; empty for the program's built-in one
    QString test_url;
    QString installdir_linux;
    QString installdir_windows;
    std::vector<RELEASE_DESCRIPTION_COMPONENT> components;
};

/// The connection test's file, which `make` writes into every release.
extern const char* const release_test_file;
extern const char* const release_manifest_file;

/// Reads and checks a description, whose files are found relative to it.
///
/// \param faults  receives every fault that was found, a sentence each
/// \return nothing when there was a fault
std::optional<RELEASE_DESCRIPTION> read_release_description(const QString& path,
                                                            QStringList& faults);
