#include "install/vinst/gui/vinst_downloader_dlg_rules.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_installation.h"

#include <algorithm>

namespace
{

const QString auto_install_title = QStringLiteral("Auto install after download");

QString available_text(const QString& prefix, const VINST_VOLUME& volume)
{
    return prefix + ' ' +
           (volume.available < 0 ? "N/A" : gigabytes_text(static_cast<quint64>(volume.available)));
}

QString as_sentence(const QString& text)
{
    return text.left(1).toUpper() + text.mid(1) + '.';
}

/// Further lines of a report, separated from it.
QString below_report(const QStringList& lines)
{
    return lines.isEmpty() ? QString() : "\n\n" + lines.join('\n').toHtmlEscaped();
}

}

VINST_AUTO_INSTALL_AVAILABILITY auto_install_availability(const QString& selected_platform,
                                                          const QString& running_platform,
                                                          bool is_admin)
{
    if (selected_platform != running_platform)
        return {false,
                auto_install_title + " (Disabled: Unable to install due to different platform)",
                "Auto install is disabled as the platform selected does not match the platform "
                "that the application is running on."};
    if (!is_admin)
        return {false, auto_install_title + " (Disabled: No admin privilege)",
                QString::fromStdString(message("TOOLTIP_AUTOINSTALL_NO_ADMIN"))};
    return {true, auto_install_title, {}};
}

bool offers_manual_run(const VINST_AUTO_INSTALL_AVAILABILITY& availability,
                       bool auto_install_checked)
{
    return availability.is_available && !auto_install_checked;
}

QColor status_color(const QString& text)
{
    const QString lower = text.toLower();
    const bool is_bad = lower.contains("fail") || lower.contains("error") ||
                        lower.contains("nothing was installed");
    return is_bad ? Qt::red : Qt::blue;
}

QString status_style(const QString& text)
{
    return status_color(text) == Qt::red ? "QLabel { color : red; }" : "QLabel { color : blue; }";
}

QString licence_link(const QString& path, bool is_active)
{
    return QStringLiteral("<html><head/><body><p><a href=%1><span style=\" text-decoration: "
                          "underline; color:%2;\">Orvane License Agreement</span></a></p></body>"
                          "</html>")
        .arg(is_active ? path : QString(), is_active ? "#0000ff" : "#cccccc");
}

QString speed_label(const QString& speed)
{
    return speed.isEmpty() ? QString() : '(' + speed + ')';
}

QString downloaded_label(const QString& text, quint64 percent)
{
    return text.isEmpty() ? QString()
                          : "Downloaded: " + text + " -- " + QString::number(percent) + '%';
}

VINST_SPACE_LABELS space_labels(const VINST_SPACE_FIGURES& figures,
                                const VINST_SPACE_AVAILABLE& available, bool auto_install)
{
    const quint64 to_install = auto_install ? figures.to_install : 0;
    VINST_SPACE_LABELS labels;
    labels.download_size = "Download size: " + gigabytes_text(figures.to_download);
    labels.install_size = "Installation size: " +
                          (auto_install ? gigabytes_text(figures.to_install) : QString("N/A"));
    labels.required = "Disk space required: " + gigabytes_text(figures.to_download + to_install);
    if (available.is_one_volume() || !auto_install)
    {
        labels.available = available_text("Disk space available:", available.download);
        return labels;
    }
    labels.download_available =
        available_text("Download disk space available:", available.download);
    labels.install_available =
        available_text("Installation disk space available:", available.install);
    return labels;
}

QString directory_problem(const VINST_DIRECTORY_FACTS& facts)
{
    const QString& path = facts.path;
    if (path.isEmpty())
        return QStringLiteral("Choose a directory.");
    if (std::any_of(path.begin(), path.end(), [](QChar c) { return c.isSpace(); }))
        return QStringLiteral("The path must not contain blanks.");
    if (facts.is_other_file)
        return QStringLiteral("A part of this path is a file, not a directory.");
    if (!facts.is_writable)
        return QStringLiteral("You have no permission to write to this directory.");
    if (facts.is_occupied)
        return QStringLiteral("This directory is not empty. Choose an empty or a new one.");
    if (facts.available >= 0 && facts.needed > 0 &&
        static_cast<quint64>(facts.available) <= facts.needed)
        return "There is too little space: " + readable_size(facts.needed) + " needed, " +
               readable_size(static_cast<quint64>(facts.available)) + " available.";
    return {};
}

QString needed_components_status(const VINST_COMPONENT_LIST& needed)
{
    QStringList names;
    for (const VINST_COMPONENT* component : needed)
        names.append(component->display_name());
    return "Also selected, since other components need it: " + names.join(", ");
}

QString download_report(int components)
{
    return "<h2><font color=green>Download Complete</font></h2>" + QString::number(components) +
           " component(s) have been successfully downloaded.";
}

QString install_report(const VINST_INSTALL_OUTCOME& outcome)
{
    switch (outcome.result)
    {
    case VINST_INSTALL_OUTCOME::RESULT::installed:
        return "<h2><font color=green>Installation Complete</font></h2>The software was "
               "successfully installed." +
               below_report(install_remarks(outcome));
    case VINST_INSTALL_OUTCOME::RESULT::nothing_to_install:
        return "<h2><font color=red>Nothing was installed</font></h2>" +
               as_sentence(outcome.reason) + below_report(install_remarks(outcome));
    case VINST_INSTALL_OUTCOME::RESULT::failed:
    case VINST_INSTALL_OUTCOME::RESULT::stopped:
        break;
    }
    return "<h2><font color=red>Installation Incomplete</font></h2>Please check the log for more "
           "information." +
           below_report(outcome.reason.split('\n', Qt::SkipEmptyParts));
}

QString install_status(const VINST_INSTALL_OUTCOME& outcome, double seconds)
{
    const QString verdict = install_verdict(outcome);
    if (outcome.result == VINST_INSTALL_OUTCOME::RESULT::nothing_to_install)
        return verdict;
    return verdict + ".  Total install time: " + format_elapsed(seconds);
}

QString installation_step(const VINST_COMPONENT& component, int number, int count)
{
    return QStringLiteral("Installing %1 of %2: ").arg(number).arg(count) +
           component.display_name();
}

QString installation_step_text(const QString& step, std::chrono::seconds elapsed)
{
    return step + " (" + format_elapsed(static_cast<double>(elapsed.count())) + ')';
}

QString stop_installation_text(const QString& install_dir)
{
    return "Stopping now leaves an incomplete installation in " +
           without_control_characters(install_dir) + ". Do you want to stop it?";
}

QString retry_status(int attempt, std::chrono::seconds left)
{
    return "Download failed. Retrying #" + QString::number(attempt) + " after " +
           QString::fromStdString(format_duration(static_cast<int>(left.count())));
}

QString failed_components_text(const QStringList& names, const QString& error_text)
{
    const std::string count = std::to_string(names.size()) + " component(s)";
    QString text = QString::fromStdString(message("ERROR_CORRUPTED_FILE", count)) +
                   "\n\nFailed component(s):\n";
    for (const QString& name : names)
        text += " - " + name + '\n';
    if (!error_text.isEmpty())
        text += "\n\nDetails:\n" + error_text;
    return text;
}
