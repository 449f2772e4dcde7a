#include "install/vinst/gui/vinst_announcer.h"

#include <QAccessible>
#include <QLabel>
#include <QRegularExpression>

#include <utility>

void announce_label(QLabel& label)
{
    // The label's name is its text.
    QAccessibleEvent alert(&label, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QString status_kind(const QString& status)
{
    static const QRegularExpression numbers(QStringLiteral("[0-9]+( (hours?|mins?|secs?))*"));
    QString kind = status;
    return kind.remove(numbers).simplified();
}

VINST_ANNOUNCER::VINST_ANNOUNCER(QLabel& label, std::function<void(QLabel&)> announce,
                                 std::chrono::milliseconds interval)
    : m_label(label), m_announce(std::move(announce))
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(interval);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this] { follow(); });
}

void VINST_ANNOUNCER::follow()
{
    const QString kind = status_kind(m_label.text());
    if (kind == m_announced_kind || m_pause.isActive())
        return;
    m_announced_kind = kind;
    if (kind.isEmpty())
        return;
    m_pause.start();
    m_announce(m_label);
}
