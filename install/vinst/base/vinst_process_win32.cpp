#include "install/vinst/base/vinst_process_platform.h"

#include "install/vinst/base/vinst_child_process.h"
#include "support/fio/fio_file_system.h"

#include <QCoreApplication>
#include <QTimer>
#include <QWinEventNotifier>

#include <atomic>
#include <utility>

#include <windows.h>

namespace
{

// Written by the main thread, read by the thread on which the console's requests arrive; null while
// no installer is running.
std::atomic<HANDLE> running_job{nullptr};

constexpr int elevation_required = 740; // ERROR_ELEVATION_REQUIRED, which MinGW's headers lack

constexpr UINT ended_on_request = 0xC000013A; // exit status after Ctrl-C

/// Qt's replacement for this deprecated function returns only the process id, not the handles.
const PROCESS_INFORMATION& handles_of(const QProcess& process)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return *process.pid();
    QT_WARNING_POP
}

/// Runs the installer in a job, so that it can be killed together with all its child processes. The
/// console's Ctrl-C doesn't reach it directly, only through this program.
class GROUP_PROCESS final : public VINST_CHILD_PROCESS
{
public:
    GROUP_PROCESS() : m_job(::CreateJobObjectW(nullptr, nullptr))
    {
        allow_breakaway();
        setCreateProcessArgumentsModifier(
            [this](CreateProcessArguments* arguments)
            {
                arguments->flags |= group_flags;
                if (m_output == INVALID_HANDLE_VALUE)
                    return;
                arguments->startupInfo->hStdOutput = m_output;
                arguments->startupInfo->hStdError = m_output;
            });
        // It is created suspended and resumed in the job, so that no child process is missed.
        connect(this, &QProcess::started, this,
                [this]
                {
                    const PROCESS_INFORMATION& handles = handles_of(*this);
                    m_is_in_job = m_job != nullptr &&
                                  ::AssignProcessToJobObject(m_job, handles.hProcess) != FALSE;
                    running_job = m_is_in_job ? m_job : nullptr;
                    ::ResumeThread(handles.hThread);
                    close_output(); // the process has its own handle
                });
    }
    ~GROUP_PROCESS() override
    {
        close_output();
        running_job = nullptr;
        if (m_job != nullptr)
            ::CloseHandle(m_job);
    }
    GROUP_PROCESS(const GROUP_PROCESS&) = delete;
    GROUP_PROCESS& operator=(const GROUP_PROCESS&) = delete;

    // Not setStandardOutputFile, which opens the file so that it can't be removed before all who
    // have inherited it have ended.
    void write_output_to(const std::string& path)
    {
        constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        m_output = ::CreateFileW(fio_path(path).c_str(), GENERIC_WRITE, sharing, &inherited,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    /// Without a job, only the process itself can be killed.
    void kill_job()
    {
        if (!m_is_in_job || ::TerminateJobObject(m_job, ended_on_request) == FALSE)
            kill();
    }

private:
    /// Some installers start services or updaters outside their own job, and fail where they can't.
    void allow_breakaway()
    {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_BREAKAWAY_OK;
        ::SetInformationJobObject(m_job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    }

    static constexpr unsigned long group_flags = CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;

    void close_output()
    {
        if (m_output != INVALID_HANDLE_VALUE)
            ::CloseHandle(std::exchange(m_output, INVALID_HANDLE_VALUE));
    }

    HANDLE m_job; ///< null if it could not be created
    bool m_is_in_job = false;
    HANDLE m_output = INVALID_HANDLE_VALUE; ///< until the process has started
};

/// Takes over the handle.
void call_at_end(HANDLE process, const std::function<void(int)>& ended)
{
    auto* const notifier = new QWinEventNotifier(process, QCoreApplication::instance());
    QObject::connect(notifier, &QWinEventNotifier::activated, notifier,
                     [notifier, process, ended]
                     {
                         notifier->setEnabled(false);
                         notifier->deleteLater();
                         DWORD exit_code = 0;
                         ::GetExitCodeProcess(process, &exit_code);
                         ::CloseHandle(process);
                         ended(static_cast<int>(exit_code));
                     });
}

}

std::unique_ptr<QProcess> make_installer_process()
{
    return std::make_unique<GROUP_PROCESS>();
}

void write_output_to(QProcess& process, const std::string& path)
{
    // Replaced by the file; otherwise the process would inherit pipes as well.
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(QProcess::nullDevice());
    static_cast<GROUP_PROCESS&>(process).write_output_to(path);
}

void pass_signal_on(QProcess& process, int)
{
    if (process.state() == QProcess::NotRunning)
        return;
    ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(process.processId()));
    process.terminate(); // for a program that has a window
}

void kill_group(QProcess& process)
{
    static_cast<GROUP_PROCESS&>(process).kill_job();
}

void kill_running_installer()
{
    if (const HANDLE job = running_job; job != nullptr)
        ::TerminateJobObject(job, ended_on_request);
}

bool start_detached(const QString& program, const QStringList& arguments,
                    const QString& working_directory, const std::function<void(int)>& ended)
{
    qint64 id = 0;
    if (!QProcess::startDetached(program, arguments, working_directory, &id))
        return false;
    const HANDLE process = ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE,
                                         static_cast<DWORD>(id));
    if (process != nullptr)
        call_at_end(process, ended);
    else // it has ended already
        QTimer::singleShot(0, [ended] { ended(0); });
    return true;
}

bool needs_elevation(const QProcess& process)
{
    return process.error() == QProcess::FailedToStart &&
           process.errorString().contains(qt_error_string(elevation_required));
}
