#include "install/vinst/base/vinst_process_platform.h"

#include "install/vinst/base/vinst_child_process.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <set>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

// Written by the main thread, read by a signal handler; 0 while no installer is running.
std::atomic<pid_t> running_installer{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "the handler must not block");

// The file with the output of the installer that is running, for the same handler. Changed only
// while the flag is false.
std::array<char, PATH_MAX> output_path{};
std::atomic<bool> has_output_path{false};

void remember_output(const std::string& path)
{
    has_output_path = false;
    if (path.empty() || path.size() >= output_path.size())
        return;
    std::copy_n(path.c_str(), path.size() + 1, output_path.begin());
    has_output_path = true;
}

/// Runs the installer in a session of its own: a terminal's Ctrl-C doesn't reach it twice, and an
/// installer that asks on /dev/tty gets an error instead of waiting for an answer.
class GROUP_PROCESS final : public VINST_CHILD_PROCESS
{
public:
    GROUP_PROCESS()
    {
        connect(this, &QProcess::started, this,
                [this]
                {
                    m_group = static_cast<pid_t>(processId());
                    running_installer = m_group;
                    if (m_early_signal != 0)
                        signal_group(m_early_signal);
                });
    }
    ~GROUP_PROCESS() override
    {
        running_installer = 0;
        remember_output({});
    }
    GROUP_PROCESS(const GROUP_PROCESS&) = delete;
    GROUP_PROCESS& operator=(const GROUP_PROCESS&) = delete;

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
    void setupChildProcess() override
    {
        VINST_CHILD_PROCESS::setupChildProcess();
        ::setsid();
        // Ends with this program, even if that is killed: a later run must not meet an installer
        // that is still writing. It may have been killed before the call.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != m_parent)
            ::_exit(1);
    }

private:
    const pid_t m_parent = ::getpid();
    pid_t m_group = 0;
    int m_early_signal = 0;
};

/// Not affected by signals to this program's group or terminal.
class DETACHED_PROCESS final : public VINST_CHILD_PROCESS
{
protected:
    void setupChildProcess() override
    {
        VINST_CHILD_PROCESS::setupChildProcess();
        ::setsid();
    }
};

/// Not destroyed at the end of the program, because that would kill those that still run.
std::set<QProcess*>& detached_processes()
{
    static auto& processes = *new std::set<QProcess*>;
    return processes;
}

}

std::unique_ptr<QProcess> make_installer_process()
{
    return std::make_unique<GROUP_PROCESS>();
}

void write_output_to(QProcess& process, const std::string& path)
{
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(QString::fromStdString(path));
    remember_output(path);
}

void pass_signal_on(QProcess& process, int signal_number)
{
    static_cast<GROUP_PROCESS&>(process).signal_group(signal_number != 0 ? signal_number : SIGTERM);
}

void kill_group(QProcess& process)
{
    static_cast<GROUP_PROCESS&>(process).signal_group(SIGKILL);
}

void kill_running_installer()
{
    if (const pid_t group = running_installer; group > 0)
        ::kill(-group, SIGKILL);
    if (has_output_path)
        ::unlink(output_path.data());
}

// Not QProcess::startDetached, which passes on all descriptors, and SIGPIPE as ignored.
bool start_detached(const QString& program, const QStringList& arguments,
                    const QString& working_directory, const std::function<void(int)>& ended)
{
    auto process = std::make_unique<DETACHED_PROCESS>();
    process->setWorkingDirectory(working_directory);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->setInputChannelMode(QProcess::ForwardedInputChannel);
    process->start(program, arguments);
    if (!process->waitForStarted(-1))
        return false;
    QProcess* const running = process.release();
    detached_processes().insert(running);
    QObject::connect(running, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), running,
                     [running, ended](int exit_code)
                     {
                         detached_processes().erase(running);
                         running->deleteLater();
                         ended(exit_code);
                     });
    return true;
}

bool needs_elevation(const QProcess&)
{
    return false;
}
