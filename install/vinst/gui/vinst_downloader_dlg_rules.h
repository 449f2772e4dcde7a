#pragma once

#include "install/vinst/release/vinst_data_space.h"

#include <QColor>
#include <QString>
#include <QStringList>

#include <chrono>

// Decisions and texts of the main dialog, independent of the window.

struct VINST_INSTALL_OUTCOME;

/// Whether the release can be installed after its download.
struct VINST_AUTO_INSTALL_AVAILABILITY
{
    bool is_available = false;
    QString title;
    QString tooltip;
};
VINST_AUTO_INSTALL_AVAILABILITY auto_install_availability(const QString& selected_platform,
                                                          const QString& running_platform,
                                                          bool is_admin);

/// Whether each row offers to run its installer.
bool offers_manual_run(const VINST_AUTO_INSTALL_AVAILABILITY& availability,
                       bool auto_install_checked);

/// Red for what failed, blue for everything else; matched by the words "fail", "error" and "nothing
/// was installed".
QString status_style(const QString& text);
QColor status_color(const QString& text);

/// The licence link's rich text.
QString licence_link(const QString& path, bool is_active);

/// "(3.00 MB/sec)"; empty for an empty speed, to avoid empty brackets.
QString speed_label(const QString& speed);

/// "Downloaded: 1.00 MB / 2.00 MB -- 50%"; empty for an empty text.
QString downloaded_label(const QString& text, quint64 percent);

/// The volumes of the two directories.
struct VINST_SPACE_AVAILABLE
{
    VINST_VOLUME download;
    VINST_VOLUME install;
    bool is_one_volume() const { return download.root == install.root; }
};

/// The labels of the space group; an empty one is not shown.
struct VINST_SPACE_LABELS
{
    QString download_size;
    QString install_size;
    QString required;
    QString available; ///< when both directories are on one volume
    QString download_available;
    QString install_available;
};
VINST_SPACE_LABELS space_labels(const VINST_SPACE_FIGURES& figures,
                                const VINST_SPACE_AVAILABLE& available, bool auto_install);

/// What is known about a directory that the user is typing.
struct VINST_DIRECTORY_FACTS
{
    QString path;
    bool is_other_file = false; ///< a file, or below one
    bool is_writable = true;    ///< or its nearest existing ancestor
    bool is_occupied = false;   ///< must be empty, but is not
    quint64 needed = 0;         ///< bytes
    qint64 available = -1;      ///< bytes; negative when unknown
};

/// Why Download would refuse the directory or ask about it, in a sentence; empty when it would not.
QString directory_problem(const VINST_DIRECTORY_FACTS& facts);

/// The status line after components were selected because others need them.
QString needed_components_status(const VINST_COMPONENT_LIST& needed);

/// The reports at the end of a run, as markup written by the program.
QString download_report(int components);
/// Component names in it are escaped.
QString install_report(const VINST_INSTALL_OUTCOME& outcome);
/// The status line after an installation. \param seconds the duration
QString install_status(const VINST_INSTALL_OUTCOME& outcome, double seconds);
/// What is being installed: "Installing 2 of 5: Orion device support".
QString installation_step(const VINST_COMPONENT& component, int number, int count);
/// The same with the time since the installation has begun.
QString installation_step_text(const QString& step, std::chrono::seconds elapsed);
/// The question before an installation is stopped.
QString stop_installation_text(const QString& install_dir);
/// The status line while waiting for the next attempt.
QString retry_status(int attempt, std::chrono::seconds left);
/// The message shown when the retry duration is used up.
/// \param error_text  the last error; may be empty
QString failed_components_text(const QStringList& names, const QString& error_text);
