#include "tests/gui/session_bus_posix.h"

#include "tests/harness/wait_until.h"

#include <QDBusConnection>

#include <stdexcept>

namespace
{

const QString connection_name = QStringLiteral("launcher");

}

SESSION_BUS::SESSION_BUS()
{
    m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
    if (!m_daemon.waitForReadyRead(static_cast<int>(long_enough.count())))
        throw std::runtime_error("dbus-daemon has not started");
    const QByteArray address = m_daemon.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    QDBusConnection connection =
        QDBusConnection::connectToBus(QString::fromUtf8(address), connection_name);
    if (!connection.connect({}, {}, "com.canonical.Unity.LauncherEntry", "Update", this,
                            SLOT(update(QString, QVariantMap))))
        throw std::runtime_error("the private bus takes no listener");
}

SESSION_BUS::~SESSION_BUS()
{
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QDBusConnection::disconnectFromBus(connection_name);
    m_daemon.terminate();
    m_daemon.waitForFinished();
}

void SESSION_BUS::update(const QString& entry, const QVariantMap& properties)
{
    updates.push_back({entry, properties.value("progress", -1).toDouble(),
                       properties.value("progress-visible").toBool()});
}
