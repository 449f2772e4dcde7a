#include "install/vinst/download/vinst_progress_block.h"

#include "install/vinst/base/vinst_text.h"

#include <algorithm>
#include <limits>

namespace
{

bool is_receiving(const VINST_PROGRESS_TOTALS& totals)
{
    return totals.delta != 0 && totals.received > 0;
}

}

quint64 percentage(quint64 part, quint64 whole)
{
    if (whole == 0)
        return 0;
    const double percent = static_cast<double>(part) / static_cast<double>(whole) * 100.0;
    return static_cast<quint64>(std::min(percent, 100.0));
}

QString overall_text(const VINST_PROGRESS_TOTALS& totals)
{
    return readable_size(totals.downloaded) + " / " + readable_size(totals.total);
}

QString speed_text(const VINST_PROGRESS_TOTALS& totals)
{
    return is_receiving(totals) ? readable_size(totals.delta) + "/sec" : QString();
}

QString remaining_text(const VINST_PROGRESS_TOTALS& totals)
{
    if (!is_receiving(totals))
        return {};
    const quint64 rest = totals.total - std::min(totals.total, totals.downloaded);
    const quint64 longest = std::numeric_limits<int>::max();
    return QString::fromStdString(
        format_duration(static_cast<int>(std::min(rest / totals.delta, longest))));
}

QString transfer_error_line(const QString& name, const QString& error, int http_code, int curl_code)
{
    return name + ": Error: " + error + ", Httpcode: " + QString::number(http_code) +
           ", Curlcode: " + QString::number(curl_code);
}

QString progress_block(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                       const VINST_PROGRESS_TOTALS& totals)
{
    QString block;
    for (const VINST_COMPONENT_PROGRESS& component : components)
    {
        if (!component.error_line.isEmpty())
            block += component.error_line + '\n';
        else
            block += component.name + ": [" + QString::number(component.bytes) + " / " +
                     QString::number(component.size) + "] " + QString::number(component.percent) +
                     "% \n";
    }
    block += "Total downloaded: [" + overall_text(totals) + "]      \n";
    if (is_receiving(totals))
        block += "  Avg. download speed: [" + speed_text(totals) + "]      \n" +
                 "  Est. time remaining: [" + remaining_text(totals) + "]            ";
    return block + '\n';
}
