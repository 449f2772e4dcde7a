#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// The progress of one component.
struct VINST_COMPONENT_PROGRESS
{
    enum class STATE
    {
        waiting, ///< for its turn, or for its integrity check
        moving,  ///< bytes have been received, and more are to come
        failed,
        verified
    };

    QString name;
    quint64 bytes = 0;
    quint64 size = 0;
    quint64 percent = 0;
    QString error_line; ///< shown instead of the component's line unless empty
    STATE state = STATE::waiting;
};

/// Totals of all components of a run, in bytes.
struct VINST_PROGRESS_TOTALS
{
    quint64 downloaded = 0;
    quint64 total = 0;
    quint64 delta = 0;    ///< received since the previous pass, one second ago
    quint64 received = 0; ///< in this run
};

/// `part` of `whole` in percent, truncated and at most 100; 0 if `whole` is 0.
quint64 percentage(quint64 part, quint64 whole);

QString overall_text(const VINST_PROGRESS_TOTALS& totals);
/// Both are empty while nothing is being received.
QString speed_text(const VINST_PROGRESS_TOTALS& totals);
QString remaining_text(const VINST_PROGRESS_TOTALS& totals);

/// "NAME: Error: TEXT, Httpcode: 404, Curlcode: 22".
QString transfer_error_line(const QString& name, const QString& error, int http_code,
                            int curl_code);

/// The lines that console mode redraws in place.
QString progress_block(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                       const VINST_PROGRESS_TOTALS& totals);
