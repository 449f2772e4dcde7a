#include "install/vinst/gui/vinst_taskbar_progress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QVariantMap>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace
{

constexpr std::chrono::seconds longest_wait_at_end{1};

const QString desktop_entry = QStringLiteral("application://example.orvane.vinst.desktop");
const QString object_path = QStringLiteral("/com/canonical/unity/launcherentry/vinst");
const QString interface_name = QStringLiteral("com.canonical.Unity.LauncherEntry");

/// Empty if there is no session bus. Without an address, libdbus would start one.
QString session_bus_address()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address.startsWith("autolaunch:") ? QString() : address;
    const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus";
    return QFileInfo::exists(socket) ? "unix:path=" + socket : QString();
}

/// A connection that a thread of its own opens, because the bus may not respond. Shared by that
/// thread and its user, as either may end first.
class BUS
{
public:
    BUS()
    {
        static int number = 0;
        m_name = "vinst_taskbar_" + QString::number(++number);
    }
    BUS(const BUS&) = delete;
    BUS& operator=(const BUS&) = delete;

    /// Called once, on the thread.
    void open(const QString& address)
    {
        const QDBusConnection connection = QDBusConnection::connectToBus(address, m_name);
        const std::lock_guard lock(m_mutex);
        m_is_open = connection.isConnected();
        m_is_done = true;
        if (m_is_unwanted)
            QDBusConnection::disconnectFromBus(m_name);
        m_end.notify_all();
    }

    /// \return whether it was queued
    bool send(const QDBusMessage& message)
    {
        const std::lock_guard lock(m_mutex);
        return m_is_open && QDBusConnection(m_name).send(message);
    }

    /// Waits a little for the thread, which would use what is destroyed at the program's end.
    void close()
    {
        std::unique_lock lock(m_mutex);
        m_is_unwanted = true;
        if (m_is_done)
            QDBusConnection::disconnectFromBus(m_name);
        else
            m_end.wait_for(lock, longest_wait_at_end, [this] { return m_is_done; });
    }

private:
    QString m_name;
    std::mutex m_mutex; // for the following
    std::condition_variable m_end;
    bool m_is_open = false;
    bool m_is_done = false;
    bool m_is_unwanted = false;
};

}

/// Sends signals that launchers of several desktops follow. Nobody has to receive them.
class VINST_TASKBAR_PROGRESS::BUTTON
{
public:
    BUTTON() = default;
    ~BUTTON()
    {
        update({});
        if (m_bus != nullptr)
            m_bus->close();
    }
    BUTTON(const BUTTON&) = delete;
    BUTTON& operator=(const BUTTON&) = delete;

    void update(std::optional<int> percent)
    {
        if (percent == m_sent || (!percent && m_bus == nullptr))
            return;
        if (!std::exchange(m_was_connected, true))
            connect();
        const QVariantMap properties{{"progress", percent.value_or(0) / 100.0},
                                     {"progress-visible", percent.has_value()}};
        QDBusMessage message =
            QDBusMessage::createSignal(object_path, interface_name, QStringLiteral("Update"));
        message << desktop_entry << properties;
        if (m_bus != nullptr && m_bus->send(message))
            m_sent = percent;
    }

private:
    void connect()
    {
        const QString address = session_bus_address();
        if (address.isEmpty())
            return;
        m_bus = std::make_shared<BUS>();
        std::thread([bus = m_bus, address] { bus->open(address); }).detach();
    }

    std::shared_ptr<BUS> m_bus; ///< null without a session bus
    bool m_was_connected = false;
    std::optional<int> m_sent; ///< empty while no progress is shown
};

VINST_TASKBAR_PROGRESS::VINST_TASKBAR_PROGRESS(QWidget& /*window*/)
    : m_button(std::make_unique<BUTTON>())
{
}

VINST_TASKBAR_PROGRESS::~VINST_TASKBAR_PROGRESS() = default;

void VINST_TASKBAR_PROGRESS::show(int percent)
{
    m_button->update(percent);
}

void VINST_TASKBAR_PROGRESS::hide()
{
    m_button->update({});
}
