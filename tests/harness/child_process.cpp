#include "tests/harness/child_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

constexpr const char* inherited_variables[] = {
    "PATH", "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "LLVM_PROFILE_FILE"};

[[noreturn]] void fail(const std::string& what, int error_number)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(error_number));
}

struct PIPE
{
    int read_end = -1;
    int write_end = -1;
};

PIPE make_pipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        fail("cannot make a pipe", errno);
    return {ends[0], ends[1]};
}

void close_end(int& descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

std::string find_in_path(const fs::path& program)
{
    if (program.has_parent_path())
        return program.string();
    const char* const path = std::getenv("PATH");
    // The servers are in sbin, which an ordinary user's PATH doesn't contain.
    std::string rest = std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin:/sbin:";
    for (std::size_t colon; (colon = rest.find(':')) != std::string::npos; rest.erase(0, colon + 1))
    {
        const fs::path candidate = fs::path(rest.substr(0, colon)) / program;
        if (::access(candidate.c_str(), X_OK) == 0)
            return candidate.string();
    }
    throw std::runtime_error("cannot find " + program.string() + " in PATH: is it installed?");
}

/// The strings and the array of pointers for exec, created before the fork.
struct POINTERS
{
    explicit POINTERS(std::vector<std::string> texts_to_hold) : texts(std::move(texts_to_hold))
    {
        for (std::string& text : texts)
            all.push_back(text.data());
        all.push_back(nullptr);
    }

    std::vector<std::string> texts;
    std::vector<char*> all;
};

std::vector<std::string> environment_of(const CHILD_SETUP& setup)
{
    std::map<std::string, std::string> variables = setup.environment;
    for (const char* const name : inherited_variables)
    {
        if (const char* const value = std::getenv(name))
            variables.emplace(name, value);
    }
    std::vector<std::string> texts;
    texts.reserve(variables.size());
    for (const auto& [name, value] : variables)
        texts.emplace_back(name).append("=").append(value);
    return texts;
}

struct START
{
    std::string program;
    POINTERS arguments;
    POINTERS environment;
    std::string working_directory;
    int input, output, errors;
    const std::set<int>* closed_streams;
    bool on_terminal;
    bool die_with_parent;
    pid_t parent;
    int failure; ///< receives the error number if the program can't be started
};

/// Runs in the child between fork and exec: may only call async-signal-safe functions.
[[noreturn]] void become(const START& start)
{
    const auto give_up = [&start]
    {
        const int error_number = errno;
        const ssize_t told = ::write(start.failure, &error_number, sizeof error_number);
        ::_exit(told > 0 ? 126 : 127);
    };

    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT, SIGCHLD})
        ::signal(signal_number, SIG_DFL);

    ::setsid();
    if (start.die_with_parent)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != start.parent)
            ::_exit(127);
    }
    if (start.on_terminal && ::ioctl(start.input, TIOCSCTTY, 0) != 0)
        give_up();
    if (::dup2(start.input, 0) < 0 || ::dup2(start.output, 1) < 0 || ::dup2(start.errors, 2) < 0)
        give_up();
    for (const int stream : *start.closed_streams)
        ::close(stream);
    if (!start.working_directory.empty() && ::chdir(start.working_directory.c_str()) != 0)
        give_up();
    ::execve(start.program.c_str(), start.arguments.all.data(), start.environment.all.data());
    give_up();
    ::_exit(127);
}

CHILD_RESULT result_of(const siginfo_t& info, const rusage& usage)
{
    CHILD_RESULT result;
    if (info.si_code == CLD_EXITED)
        result.exit_code = info.si_status;
    else
        result.signal = info.si_status;
    result.processor_time =
        std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
        std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    result.peak_memory = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
    return result;
}

}

CHILD_SETUP& CHILD_SETUP::live_in(const fs::path& directory)
{
    fs::create_directories(directory / "home");
    fs::create_directories(directory / "tmp");
    environment["HOME"] = directory / "home";
    environment["TMPDIR"] = directory / "tmp";
    return *this;
}

CHILD_SETUP& CHILD_SETUP::add_sanitizer_option(const std::string& option)
{
    for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"})
    {
        if (const char* inherited = std::getenv(name);
            inherited != nullptr && environment.count(name) == 0)
            environment[name] = inherited;
        std::string& options = environment[name];
        options += (options.empty() ? "" : ":") + option;
    }
    return *this;
}

CHILD_PROCESS::CHILD_PROCESS(const CHILD_SETUP& setup)
{
    std::vector<std::string> words = {setup.program.string()};
    words.insert(words.end(), setup.arguments.begin(), setup.arguments.end());
    START start{find_in_path(setup.program), POINTERS(words), POINTERS(environment_of(setup)),
                setup.working_directory.string(), -1, -1, -1, &setup.closed_streams,
                setup.terminal.has_value(),
                // The signal is sent when the starting thread ends, not when the process ends.
                ::gettid() == ::getpid(), ::getpid(), -1};

    if (setup.terminal)
    {
        winsize size = {};
        size.ws_row = setup.terminal->rows;
        size.ws_col = setup.terminal->columns;
        int slave = -1;
        if (::openpty(&m_output_end, &slave, nullptr, nullptr, &size) != 0)
            fail("cannot open a terminal", errno);
        ::fcntl(m_output_end, F_SETFD, FD_CLOEXEC);
        ::fcntl(slave, F_SETFD, FD_CLOEXEC);
        m_terminal = ::fcntl(m_output_end, F_DUPFD_CLOEXEC, 3);
        start.input = start.output = start.errors = slave;
    }
    else
    {
        const PIPE output = make_pipe();
        const PIPE errors = make_pipe();
        m_output_end = output.read_end;
        m_errors_end = errors.read_end;
        start.input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        start.output = output.write_end;
        start.errors = errors.write_end;
    }
    PIPE failure = make_pipe();
    start.failure = failure.write_end;
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

    m_pid = ::fork();
    if (m_pid == 0)
        become(start);
    const int fork_error = errno;

    close_end(failure.write_end);
    ::close(start.output);
    if (start.errors != start.output)
    {
        ::close(start.errors);
        ::close(start.input);
    }

    int error_number = m_pid < 0 ? fork_error : 0;
    if (m_pid > 0 && ::read(failure.read_end, &error_number, sizeof error_number) > 0)
        ::waitpid(m_pid, nullptr, 0);
    close_end(failure.read_end);
    if (error_number != 0)
    {
        for (int* const end : {&m_output_end, &m_errors_end, &m_terminal, &m_wake})
            close_end(*end);
        fail("cannot start " + start.program, error_number);
    }

    ::fcntl(m_output_end, F_SETFL, O_NONBLOCK);
    if (m_errors_end >= 0)
        ::fcntl(m_errors_end, F_SETFL, O_NONBLOCK);
    m_reader = std::thread([this] { read_all(); });
    m_waiter = std::thread([this] { await_end(); });
}

CHILD_PROCESS::~CHILD_PROCESS()
{
    // The leader isn't reaped before this point, so that its process ID can't have been reused.
    ::kill(-m_pid, SIGKILL);
    ::kill(m_pid, SIGKILL);
    m_waiter.join();
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    ::eventfd_write(m_wake, 1);
    m_reader.join();
    ::waitpid(m_pid, nullptr, 0);
    for (int* const end : {&m_output_end, &m_errors_end, &m_terminal, &m_wake})
        close_end(*end);
}

void CHILD_PROCESS::await_end()
{
    siginfo_t info = {};
    rusage usage = {};
    // The C library's waitid doesn't report resource usage.
    while (::syscall(SYS_waitid, P_PID, m_pid, &info, WEXITED | WNOWAIT, &usage) != 0)
    {
        if (errno != EINTR)
            return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_result = result_of(info, usage);
    }
    ::eventfd_write(m_wake, 1);
}

/// Reads all available data; closes the descriptor at end of file.
void CHILD_PROCESS::read_available(int& descriptor, std::string& into)
{
    std::array<char, 65536> buffer;
    while (descriptor >= 0)
    {
        const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
        if (got > 0)
        {
            const std::lock_guard lock(m_mutex);
            into.append(buffer.data(), static_cast<std::size_t>(got));
            m_changed.notify_all();
            if (m_closing)
                return;
        }
        else if (got < 0 && errno == EINTR)
            continue;
        else if (got < 0 && errno == EAGAIN)
            break;
        else
            close_end(descriptor);
    }
}

void CHILD_PROCESS::read_all()
{
    for (;;)
    {
        pollfd watched[] = {
            {m_output_end, POLLIN, 0}, {m_errors_end, POLLIN, 0}, {m_wake, POLLIN, 0}};
        ::poll(watched, 3, -1);
        // Cleared before the check: an event after the check wakes the next iteration.
        if ((watched[2].revents & POLLIN) != 0)
        {
            eventfd_t value = 0;
            ::eventfd_read(m_wake, &value);
        }
        bool ended;
        {
            const std::lock_guard lock(m_mutex);
            if (m_closing)
                return;
            ended = m_result.has_value();
        }
        read_available(m_output_end, m_output);
        read_available(m_errors_end, m_errors);
        resize_if_requested();
        if (ended)
        {
            const std::lock_guard lock(m_mutex);
            m_drained = true;
            m_changed.notify_all();
        }
    }
}

/// On the reading thread, which has read everything that a stopped child has written.
void CHILD_PROCESS::resize_if_requested()
{
    const std::lock_guard lock(m_mutex);
    if (!m_requested_size)
        return;
    winsize size = {};
    size.ws_row = m_requested_size->rows;
    size.ws_col = m_requested_size->columns;
    ::ioctl(m_terminal, TIOCSWINSZ, &size);
    m_length_at_resize = m_output.size();
    m_requested_size.reset();
    m_changed.notify_all();
}

void CHILD_PROCESS::stop_and_wait() const
{
    ::kill(m_pid, SIGSTOP);
    siginfo_t info = {};
    while (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WSTOPPED | WEXITED | WNOWAIT) != 0 &&
           errno == EINTR)
    {
    }
}

std::size_t CHILD_PROCESS::resize(CHILD_TERMINAL size)
{
    // The system passes on what was written with a delay, and the child may be in the middle of a
    // text.
    constexpr std::chrono::milliseconds quiet{200};
    stop_and_wait();
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        const std::size_t length = m_output.size();
        const auto has_grown = [&] { return m_output.size() != length; };
        if (m_changed.wait_for(lock, quiet, has_grown))
            continue;
        if (m_output.empty() || m_output.back() == '\n')
            break;
        ::kill(m_pid, SIGCONT);
        m_changed.wait_for(lock, quiet, has_grown);
        lock.unlock();
        stop_and_wait();
        lock.lock();
    }
    m_requested_size = size;
    ::eventfd_write(m_wake, 1);
    m_changed.wait(lock, [this] { return !m_requested_size; });
    ::kill(m_pid, SIGCONT);
    return m_length_at_resize;
}

std::string CHILD_PROCESS::output() const
{
    const std::lock_guard lock(m_mutex);
    return m_output;
}

std::string CHILD_PROCESS::errors() const
{
    const std::lock_guard lock(m_mutex);
    return m_errors;
}

bool CHILD_PROCESS::wait_for_output(std::string_view text, std::chrono::milliseconds timeout)
{
    return wait_for(
        [text](const std::string& output, const std::string& errors) {
            return output.find(text) != std::string::npos || errors.find(text) != std::string::npos;
        },
        timeout);
}

bool CHILD_PROCESS::wait_for(
    const std::function<bool(const std::string& output, const std::string& errors)>& met,
    std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    bool seen = false;
    m_changed.wait_for(lock, timeout,
                       [&]
                       {
                           seen = met(m_output, m_errors);
                           return seen || m_drained;
                       });
    return seen;
}

std::optional<CHILD_RESULT> CHILD_PROCESS::wait(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, timeout, [this] { return m_drained; }))
        return std::nullopt;
    return m_result;
}

bool CHILD_PROCESS::is_running() const
{
    const std::lock_guard lock(m_mutex);
    return !m_result;
}

void CHILD_PROCESS::send_signal(int signal_number) const
{
    ::kill(m_pid, signal_number);
}

void CHILD_PROCESS::send_signal_to_group(int signal_number) const
{
    ::kill(-m_pid, signal_number);
}

void CHILD_PROCESS::type(std::string_view keys) const
{
    if (m_terminal < 0)
        throw std::runtime_error("the child has no terminal to type on");
    if (::write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        fail("cannot type on the terminal", errno);
}

std::string run_tool(const CHILD_SETUP& setup)
{
    CHILD_PROCESS child(setup);
    const std::optional<CHILD_RESULT> result = child.wait(std::chrono::seconds(30));
    if (!result || !result->exited_with(0))
        throw std::runtime_error(setup.program.string() + (result ? " failed: " : " hangs: ") +
                                 child.errors() + child.output());
    return child.output();
}
