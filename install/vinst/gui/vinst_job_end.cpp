#include "install/vinst/gui/vinst_job_end.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_installation.h"

#include <QDir>

#include <algorithm>
#include <cmath>

namespace
{

using RESULT = VINST_JOB_END::RESULT;

QString count_text(int done, int count)
{
    const QString noun = count == 1 ? " component" : " components";
    return (done == count ? QString() : QString::number(done) + " of ") + QString::number(count) +
           noun;
}

QString place_text(const VINST_JOB_END& end)
{
    return without_control_characters(QDir::toNativeSeparators(end.dir));
}

/// "2.20 GB in 14 min", and what of it was there before.
QString transfer_text(const VINST_JOB_END& end)
{
    const QString fetched = readable_size(end.fetched) + " in " + rounded_duration(end.seconds);
    return end.reused == 0 ? fetched : fetched + " (" + readable_size(end.reused) + " reused)";
}

QString success_text(const VINST_JOB_END& end)
{
    const QString count = count_text(end.done, end.components);
    const bool is_installed = end.result == RESULT::installed;
    if (end.fetched > 0)
        return count + ", " + transfer_text(end) +
               (is_installed ? ", installed to " : ", downloaded to ") + place_text(end);
    if (is_installed)
        return count + ", " + readable_size(end.reused) + " reused, installed to " +
               place_text(end) + " in " + rounded_duration(end.seconds);
    return count + ", nothing to download: " + readable_size(end.reused) + " already in " +
           place_text(end);
}

/// What was done until the job was stopped or failed.
QString progress_text(const VINST_JOB_END& end)
{
    const QString count =
        QString::number(end.done) + " of " + count_text(end.components, end.components);
    if (end.was_installing)
        return count + " installed to " + place_text(end);
    return count + " complete, " +
           (end.fetched > 0 ? readable_size(end.fetched) + " downloaded"
                            : QStringLiteral("nothing downloaded"));
}

}

QString rounded_duration(double seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 60;
    if (seconds < 1)
        return QStringLiteral("less than 1 s");
    if (seconds < minute)
        return QString::number(static_cast<int>(seconds)) + " s";
    const auto minutes = static_cast<qint64>(std::lround(seconds / minute));
    if (minutes < hour)
        return QString::number(minutes) + " min";
    return QString::number(minutes / hour) + " h" +
           (minutes % hour == 0 ? QString() : ' ' + QString::number(minutes % hour) + " min");
}

QString job_end_text(const VINST_JOB_END& end)
{
    const QString how = end.result == RESULT::stopped ? "Stopped" : "Failed";
    switch (end.result)
    {
    case RESULT::none:
        return {};
    case RESULT::downloaded:
    case RESULT::installed:
        return success_text(end);
    case RESULT::stopped:
    case RESULT::failed:
        break;
    }
    if (!end.was_begun)
        return how + " before the download began";
    return how + " after " + rounded_duration(end.seconds) + ": " + progress_text(end);
}

void VINST_JOB_RECORD::reset()
{
    *this = {};
}

void VINST_JOB_RECORD::begin(const VINST_COMPONENT_LIST& components)
{
    m_files.clear();
    for (const VINST_COMPONENT* component : components)
        m_files.push_back({component, component->work.bytes_fetched});
    m_clock.start();
}

void VINST_JOB_RECORD::note(const VINST_INSTALL_OUTCOME& outcome)
{
    m_installed = static_cast<int>(std::count_if(outcome.details.begin(), outcome.details.end(),
                                                 [](const VINST_COMPONENT_INSTALLATION& detail) {
                                                     return detail.is_installed &&
                                                            detail.component->kind ==
                                                                VINST_COMPONENT_KIND::download;
                                                 }));
}

VINST_JOB_END VINST_JOB_RECORD::end(RESULT result, const QString& download_dir,
                                    const QString& install_dir) const
{
    VINST_JOB_END end;
    end.result = result;
    end.was_begun = m_clock.isValid();
    end.was_installing = m_is_installing && result != RESULT::downloaded;
    end.dir = end.was_installing ? install_dir : download_dir;
    end.components = static_cast<int>(m_files.size());
    if (end.was_begun)
        end.seconds = static_cast<double>(m_clock.nsecsElapsed()) / 1e9;
    int verified = 0;
    for (const auto& [component, fetched_before] : m_files)
    {
        const quint64 fetched = component->work.bytes_fetched - fetched_before;
        end.fetched += fetched;
        if (!component->file.is_verified())
            continue;
        ++verified;
        end.reused += component->expected_size() - std::min(component->expected_size(), fetched);
    }
    end.done = end.was_installing ? m_installed : verified;
    return end;
}
