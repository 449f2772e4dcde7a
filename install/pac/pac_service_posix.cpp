#include "install/pac/pac_service.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string_view>
#include <utility>

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr int seconds_per_request = 1;
constexpr long long longest_look_ups = 2500; // milliseconds

// The first byte of a request, followed by a name or by addresses.
constexpr char resolve_name = 'n';
constexpr char list_own_addresses = 'a';
// The first byte of an answer, followed by addresses.
constexpr char answered = '+';
constexpr char timed_out = 't';

constexpr char separator = ';';
constexpr std::size_t message_limit = 16 * 1024; // bytes

std::string joined(const std::vector<std::string>& addresses)
{
    std::string text;
    for (const std::string& address : addresses)
    {
        if (text.size() + address.size() + 2 > message_limit)
            break;
        text += (text.empty() ? "" : std::string(1, separator)) + address;
    }
    return text;
}

std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> parts;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

/// An answer that a child process writes and its parent reads.
struct SHARED_ANSWER
{
    std::size_t size;
    char text[message_limit];
};

/// Ends this process with its parent, also if that has already ended.
void end_with(pid_t parent)
{
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || ::getppid() != parent)
        ::_exit(1);
}

/// The service's side.
class SERVER
{
public:
    SERVER(int socket, const PAC_SERVICE::TASKS& tasks) : m_socket(socket), m_tasks(tasks)
    {
        void* memory = ::mmap(nullptr, sizeof(SHARED_ANSWER), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        m_answer = memory == MAP_FAILED ? nullptr : static_cast<SHARED_ANSWER*>(memory);
    }

    /// Returns when the other side no longer exists.
    void run()
    {
        std::string request(message_limit, '\0');
        for (;;)
        {
            const ssize_t size = ::read(m_socket, request.data(), request.size());
            if (size <= 0 || m_answer == nullptr)
                return;
            const std::string answer = answer_to(request.substr(0, static_cast<std::size_t>(size)));
            if (::write(m_socket, answer.data(), answer.size()) < 0)
                return;
        }
    }

private:
    /// Name look-ups can't be interrupted, so that each runs in a process that can be killed.
    std::string answer_to(const std::string& request)
    {
        m_answer->size = 0;
        const pid_t service = ::getpid();
        const pid_t child = ::fork();
        if (child == 0)
        {
            end_with(service);
            const itimerval limit{{}, {seconds_per_request, 0}};
            ::setitimer(ITIMER_REAL, &limit, nullptr);
            work(request);
            ::_exit(0);
        }
        int status = 0;
        while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR)
            continue;
        if (child > 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
            return {timed_out};
        if (child < 0 || status != 0)
            return {answered};
        return answered + std::string(m_answer->text, std::min(m_answer->size, message_limit));
    }

    void work(const std::string& request)
    {
        const std::string text = request.substr(1);
        const std::string result =
            joined(request[0] == resolve_name ? m_tasks.resolve(text)
                                              : m_tasks.own_addresses(split(text)));
        std::memcpy(m_answer->text, result.data(), result.size());
        m_answer->size = result.size();
    }

    int m_socket;
    const PAC_SERVICE::TASKS& m_tasks;
    SHARED_ANSWER* m_answer;
};

/// The standard streams belong to the starter: whoever reads its output must not wait for the
/// service, too.
bool release_standard_streams()
{
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0)
        return false;
    bool released = true;
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        released = ::dup2(null, stream) == stream && released;
    return released;
}

}

std::unique_ptr<PAC_SERVICE> PAC_SERVICE::start(const TASKS& tasks,
                                                const std::function<bool()>& begin,
                                                std::function<void(const std::string& line)> log)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return nullptr;
    const pid_t starter = ::getpid();
    const pid_t service = ::fork();
    if (service == 0)
    {
        ::close(ends[0]);
        end_with(starter);
        if (release_standard_streams() && begin())
            SERVER(ends[1], tasks).run();
        ::_exit(0);
    }
    ::close(ends[1]);
    if (service < 0)
    {
        ::close(ends[0]);
        return nullptr;
    }
    return std::unique_ptr<PAC_SERVICE>(new PAC_SERVICE(ends[0], std::move(log)));
}

PAC_SERVICE::PAC_SERVICE(int socket, std::function<void(const std::string& line)> log)
    : m_socket(socket), m_log(std::move(log))
{
}

PAC_SERVICE::~PAC_SERVICE()
{
    ::close(m_socket);
}

std::vector<std::string> PAC_SERVICE::resolve(const std::string& name)
{
    if (m_look_up_time >= longest_look_ups)
    {
        m_log("No time is left to look up " + name);
        return {};
    }
    const CLOCK::time_point begin = CLOCK::now();
    std::vector<std::string> addresses = ask(resolve_name, name);
    m_look_up_time +=
        std::chrono::duration_cast<std::chrono::milliseconds>(CLOCK::now() - begin).count();
    if (m_timed_out)
        m_log("No answer within 1 s for the name " + name);
    return addresses;
}

std::vector<std::string> PAC_SERVICE::own_addresses(const std::vector<std::string>& toward)
{
    return ask(list_own_addresses, joined(toward));
}

std::vector<std::string> PAC_SERVICE::ask(char kind, const std::string& text)
{
    const std::string request = kind + text;
    m_timed_out = false;
    if (::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) < 0)
        return {};
    std::string answer(message_limit + 1, '\0');
    const ssize_t size = ::read(m_socket, answer.data(), answer.size());
    if (size <= 0)
        return {};
    m_timed_out = answer[0] == timed_out;
    return split(std::string_view(answer).substr(1, static_cast<std::size_t>(size) - 1));
}
