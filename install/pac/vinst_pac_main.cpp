#include "install/pac/pac_containment.h"
#include "install/pac/pac_engine.h"
#include "install/pac/pac_filter.h"
#include "install/pac/pac_request.h"
#include "install/pac/pac_service.h"
#include "install/pac/pac_system.h"

#include <QCoreApplication>

#include <chrono>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

namespace
{

/// A script is untrusted: anybody on the network may have sent it.
bool contain_this_process()
{
    limit_wall_clock_time();
    return open_closed_streams() && limit_process() && give_up_privileges() && end_with_starter();
}

/// The other limits are inherited.
bool contain_service()
{
    limit_wall_clock_time();
    return apply_filter(PAC_FILTER::look_ups);
}

std::int64_t milliseconds_since_epoch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void write_line(std::string_view mark, std::string line)
{
    for (char& c : line)
        if (c == '\n' || c == '\r')
            c = ' ';
    std::cerr << mark << line << std::endl;
}

void log_line(const std::string& line)
{
    write_line("", line);
}

void report_line(const std::string& line)
{
    write_line(pac_report_mark, line);
}

}

/// Evaluates the auto-configuration script on standard input and prints its directive. Whatever the
/// script does must not affect the caller.
int main(int argc, char** argv)
{
    if (!contain_this_process())
    {
        std::cerr << "The limits can't be set\n";
        return pac_bad_request;
    }
    const auto service =
        PAC_SERVICE::start({pac_resolve, pac_own_addresses}, contain_service, log_line);
    if (!service)
    {
        std::cerr << "The process for name look-ups can't be started\n";
        return pac_bad_request;
    }
    // The JIT compiler is an additional attack surface, and no faster for a script that runs once.
    qputenv("QV4_FORCE_INTERPRETER", "1");
    const QCoreApplication application(argc, argv);

    const std::string input(std::istreambuf_iterator<char>(std::cin), {});
    const auto request = pac_request_from_text(input);
    if (!request)
    {
        std::cerr << "Standard input must contain a URL, a host and a script of at most "
                  << pac_script_limit << " bytes\n";
        return pac_bad_request;
    }
    prepare_engine();
    if (!apply_filter(PAC_FILTER::evaluation))
    {
        std::cerr << "The filter of system calls can't be set\n";
        return pac_bad_request;
    }
    const PAC_ENVIRONMENT environment{
        [&](const std::string& name) { return service->resolve(name); },
        [&](const std::vector<std::string>& toward) { return service->own_addresses(toward); },
        milliseconds_since_epoch, log_line, report_line};
    const auto directive = evaluate_pac(request->script, request->url, request->host, environment);
    if (!directive)
        return pac_no_directive;
    std::cout << *directive << std::flush;
    return pac_directive_found;
}
