#pragma once

#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

class QLabel;

/// Makes screen readers read the label, if there are any.
void announce_label(QLabel& label);

/// What a status has in common with those that differ only in numbers, such as the seconds of a
/// countdown.
QString status_kind(const QString& status);

/// Announces a status label when its text becomes one of another kind, but not more often than the
/// interval. What changes meanwhile is announced at its end.
class VINST_ANNOUNCER final
{
public:
    /// \param label     outlives this object
    /// \param announce  `announce_label`, except in tests
    VINST_ANNOUNCER(QLabel& label, std::function<void(QLabel&)> announce,
                    std::chrono::milliseconds interval = std::chrono::seconds(10));
    VINST_ANNOUNCER(const VINST_ANNOUNCER&) = delete;
    VINST_ANNOUNCER& operator=(const VINST_ANNOUNCER&) = delete;

    /// To be called when the label's text may have changed.
    void follow();

private:
    QLabel& m_label;
    const std::function<void(QLabel&)> m_announce;
    QString m_announced_kind;
    QTimer m_pause; ///< active for the interval after each announcement
};
