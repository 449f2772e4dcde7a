#include "install/vinst/vinst_process.h"

#include <QProcess>

#include <csignal>
#include <unistd.h>

namespace
{

/// In a group of its own, a terminal's Ctrl-C reaches the installer once: from this program.
class GROUP_PROCESS final : public QProcess
{
protected:
    void setupChildProcess() override { ::setpgid(0, 0); }
};

void signal_group(const QProcess& process, int signal_number)
{
    if (process.state() != QProcess::NotRunning && process.processId() > 0)
        ::kill(-static_cast<pid_t>(process.processId()), signal_number);
}

}

std::unique_ptr<QProcess> make_installer_process()
{
    return std::make_unique<GROUP_PROCESS>();
}

void pass_signal_on(QProcess& process, int signal_number)
{
    signal_group(process, signal_number != 0 ? signal_number : SIGTERM);
}

void kill_group(QProcess& process)
{
    signal_group(process, SIGKILL);
}

bool needs_elevation(const QProcess&)
{
    return false;
}
