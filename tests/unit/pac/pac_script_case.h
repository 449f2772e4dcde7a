#pragma once

#include "install/pac/pac_containment.h"
#include "install/pac/pac_engine.h"
#include "install/pac/pac_filter.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <cerrno>
#include <map>
#include <ostream>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

inline constexpr const char* no_directive = "(none)";

/// A script, and what it yields in the simulated environment of PacScript.
struct SCRIPT_CASE
{
    const char* name;
    std::string script;
    const char* expected;
    const char* host = "www.example.com";
    const char* url = "http://www.example.com/index.html";
    const char* now =
        "2026-07-15T14:30:45"; ///< UTC, a Wednesday; two hours more in the test's zone
};

inline void PrintTo(const SCRIPT_CASE& script, std::ostream* out)
{
    *out << script.name;
}

/// A script whose function returns "PROXY yes:1" if the expression is true, otherwise "DIRECT".
inline std::string when(const std::string& expression)
{
    return "function FindProxyForURL(url, host) { return (" + expression +
           ") === true ? 'PROXY yes:1' : 'DIRECT'; }";
}

/// A script whose function returns the expression as text.
inline std::string text_of(const std::string& expression)
{
    return "function FindProxyForURL(url, host) { return String(" + expression + "); }";
}

/// Ends this process under a filter. Before functions that never return, such as _exit, sanitizers
/// make system calls that the filter forbids.
inline void end_filtered_process(int code)
{
    ::syscall(SYS_exit_group, code);
}

/// An environment with a few names, in a time zone two hours east of UTC.
class PacScript : public ::testing::TestWithParam<SCRIPT_CASE>
{
protected:
    PacScript() { qputenv("TZ", "Africa/Johannesburg"); }
    ~PacScript() override { qunsetenv("TZ"); }

    static PAC_ENVIRONMENT world(const char* now)
    {
        const auto resolve = [](const std::string& name)
        {
            static const std::map<std::string, std::vector<std::string>> names = {
                {"www.example.com", {"93.184.216.34"}},
                {"intra.corp.example", {"10.1.2.3"}},
                {"lab.corp.example", {"172.16.5.6", "172.16.5.7"}},
                {"six.example", {"2001:db8::7"}},
                {"dual.example", {"2001:db8::8", "192.0.2.8"}}};
            const auto found = names.find(name);
            return found == names.end() ? std::vector<std::string>() : found->second;
        };
        const std::int64_t moment =
            QDateTime::fromString(QString(now) + "Z", Qt::ISODate).toMSecsSinceEpoch();
        return {resolve,
                [](const std::vector<std::string>&) {
                    return std::vector<std::string>{"2001:db8::40", "10.20.30.40"};
                },
                [moment] { return moment; }, [](const std::string&) {}, [](const std::string&) {}};
    }

    static std::string yielded(const SCRIPT_CASE& given)
    {
        return evaluate_pac(given.script, given.url, given.host, world(given.now))
            .value_or(no_directive);
    }

    /// The same in a process with the filter of vinst_pac; "(ended)" if the process is ended.
    static std::string yielded_under_filter(const SCRIPT_CASE& given)
    {
        int ends[2];
        if (::pipe(ends) != 0)
            return "(no pipe)";
        const pid_t child = ::fork();
        if (child == 0)
        {
            limit_wall_clock_time();
            ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
            prepare_engine();
            if (!apply_filter(PAC_FILTER::evaluation))
                ::_exit(1);
            const std::string text = yielded(given);
            const ssize_t written = ::write(ends[1], text.data(), text.size());
            end_filtered_process(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
        }
        ::close(ends[1]);
        std::string text(64 * 1024, '\0');
        std::size_t size = 0;
        for (ssize_t got = 0; (got = ::read(ends[0], text.data() + size, text.size() - size)) > 0;)
            size += static_cast<std::size_t>(got);
        ::close(ends[0]);
        int status = 1;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
            continue;
        return status == 0 ? text.substr(0, size) : "(ended)";
    }
};
