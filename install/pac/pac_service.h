#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A separate process that resolves names and lists this machine's addresses, so that the process
/// that evaluates the script needs neither files nor sockets for it. It ends with its starter.
///
/// A look-up ends after one second. Once all look-ups together have taken two and a half seconds,
/// further names are unknown, so that the script still has time to finish.
class PAC_SERVICE final
{
public:
    /// What runs in the service, once for each request, in a process that is killed after a second.
    struct TASKS
    {
        std::function<std::vector<std::string>(const std::string& name)> resolve;
        std::function<std::vector<std::string>(const std::vector<std::string>& toward)>
            own_addresses;
    };

    /// Starts the service; nothing if that fails. To be called while there is only one thread.
    ///
    /// \param begin  runs in the new process before the first request; when it returns false, the
    ///               service ends
    /// \param log    receives a line about each name that took too long
    [[nodiscard]] static std::unique_ptr<PAC_SERVICE>
    start(const TASKS& tasks, const std::function<bool()>& begin,
          std::function<void(const std::string& line)> log);
    ~PAC_SERVICE();
    PAC_SERVICE(const PAC_SERVICE&) = delete;
    PAC_SERVICE& operator=(const PAC_SERVICE&) = delete;

    /// These return an empty list when the service has no answer or no longer exists.
    std::vector<std::string> resolve(const std::string& name);
    std::vector<std::string> own_addresses(const std::vector<std::string>& toward);

private:
    PAC_SERVICE(int socket, std::function<void(const std::string& line)> log);

    std::vector<std::string> ask(char kind, const std::string& text);

    int m_socket;
    std::function<void(const std::string& line)> m_log;
    long long m_look_up_time = 0; ///< milliseconds
    bool m_timed_out = false;     ///< the last answer
};
