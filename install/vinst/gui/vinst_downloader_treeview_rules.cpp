#include "install/vinst/gui/vinst_downloader_treeview_rules.h"

#include "install/vinst/base/vinst_text.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

Qt::CheckState check_state_of(VINST_SELECTION selection)
{
    switch (selection)
    {
    case VINST_SELECTION::selected:
        return Qt::Checked;
    case VINST_SELECTION::partly_selected:
        return Qt::PartiallyChecked;
    case VINST_SELECTION::not_selected:
        break;
    }
    return Qt::Unchecked;
}

VINST_SELECTION selection_of(Qt::CheckState state)
{
    switch (state)
    {
    case Qt::Checked:
        return VINST_SELECTION::selected;
    case Qt::PartiallyChecked:
        return VINST_SELECTION::partly_selected;
    case Qt::Unchecked:
        break;
    }
    return VINST_SELECTION::not_selected;
}

Qt::CheckState aggregated_state(const std::vector<Qt::CheckState>& descendants)
{
    if (descendants.empty())
        return Qt::Unchecked;
    const bool all_equal =
        std::all_of(descendants.begin(), descendants.end(),
                    [&](Qt::CheckState state) { return state == descendants.front(); });
    return all_equal ? descendants.front() : Qt::PartiallyChecked;
}

int progress_percent(const QString& text)
{
    QString digits = text;
    bool is_number = false;
    const int percent = digits.remove('%').trimmed().toInt(&is_number);
    return is_number ? percent : -1;
}

int frame_at(qint64 milliseconds, int frame_count, int frame_delay)
{
    if (frame_count <= 0 || frame_delay <= 0)
        return 0;
    return static_cast<int>(milliseconds % (qint64(frame_count) * frame_delay) / frame_delay);
}

QString size_text(const QString& display_text, double bytes)
{
    if (!display_text.isEmpty())
        return without_control_characters(display_text);
    // Larger than any file; keeps the conversion defined.
    constexpr double most = 1e18;
    const bool is_known = std::isfinite(bytes) && bytes > 0;
    return is_known ? readable_size(static_cast<quint64>(std::min(bytes, most))) : "N/A";
}

QString description_text(const VINST_COMPONENT& component)
{
    QString text = component.desc;
    const QString md5sum = component.md5sum.trimmed();
    const QString sha1sum = component.sha1sum.trimmed();
    if (!md5sum.isEmpty())
        text += "\n\nmd5sum: " + md5sum;
    if (!sha1sum.isEmpty())
        text += (md5sum.isEmpty() ? "\n\nsha1sum:" : "\nsha1sum:") + sha1sum;
    return text;
}

int begin_of_checksums(const QString& description)
{
    static const QRegularExpression at_end(
        QStringLiteral("\\n\\n((md5sum: \\S+)(\\nsha1sum:\\S+)?|sha1sum:\\S+)$"),
        QRegularExpression::DontCaptureOption);
    const QRegularExpressionMatch match = at_end.match(description);
    return match.hasMatch() ? match.capturedStart() + 2 : -1;
}

QString group_summary(const VINST_GROUP_FIGURES& figures)
{
    const QString count = QStringLiteral("%1 of %2").arg(figures.selected).arg(figures.all);
    if (figures.selected == 0)
        return count;
    const QStringList size = readable_size(figures.bytes).split(' ');
    return count + ", " + QString::number(size[0].toDouble(), 'f', 1) + ' ' + size[1];
}

QString integrity_text(VINST_INTEGRITY_STATE state)
{
    switch (state)
    {
    case VINST_INTEGRITY_STATE::not_checked:
        return "Not checked yet";
    case VINST_INTEGRITY_STATE::passed:
        return "Passed";
    case VINST_INTEGRITY_STATE::failed:
        return "Failed";
    case VINST_INTEGRITY_STATE::checking:
        return "Checking";
    case VINST_INTEGRITY_STATE::none:
        break;
    }
    return {};
}

QString started_status(const VINST_COMPONENT& component)
{
    return "Started the installer of " + component.display_name();
}

QString ended_status(const VINST_COMPONENT& component, int exit_code)
{
    const QString text = "The installer of " + component.display_name() + " has ended";
    return exit_code == 0 ? text : text + " with exit code " + QString::number(exit_code);
}

QString run_button_text()
{
    return QStringLiteral("Run");
}
