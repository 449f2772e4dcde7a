#include "install/vinst/base/vinst_process_platform.h"

#include <QProcess>

#include <csignal>
#include <unistd.h>

namespace
{

/// Runs the installer in a session of its own: a terminal's Ctrl-C doesn't reach it twice, and an
/// installer that asks on /dev/tty gets an error instead of waiting for an answer.
class GROUP_PROCESS final : public QProcess
{
public:
    GROUP_PROCESS()
    {
        connect(this, &QProcess::started, this,
                [this]
                {
                    m_group = static_cast<pid_t>(processId());
                    if (m_early_signal != 0)
                        signal_group(m_early_signal);
                });
    }

    /// Safe after the group's leader has ended: the id isn't reused while the group has members.
    /// The group may not exist while the process is starting, so the signal is then sent once it
    /// has started.
    void signal_group(int signal_number)
    {
        if (m_group > 0)
            ::kill(-m_group, signal_number);
        else
            m_early_signal = signal_number;
    }

protected:
    void setupChildProcess() override { ::setsid(); }

private:
    pid_t m_group = 0;
    int m_early_signal = 0;
};

}

std::unique_ptr<QProcess> make_installer_process()
{
    return std::make_unique<GROUP_PROCESS>();
}

void pass_signal_on(QProcess& process, int signal_number)
{
    static_cast<GROUP_PROCESS&>(process).signal_group(signal_number != 0 ? signal_number : SIGTERM);
}

void kill_group(QProcess& process)
{
    static_cast<GROUP_PROCESS&>(process).signal_group(SIGKILL);
}

bool needs_elevation(const QProcess&)
{
    return false;
}
