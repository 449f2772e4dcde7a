/// Acts as an installer that crashes.

#include <csignal>
#include <cstdio>
#include <sys/resource.h>

int main()
{
    const rlimit no_core = {0, 0};
    ::setrlimit(RLIMIT_CORE, &no_core);
    // A sanitizer's handler would turn the signal into an exit code.
    std::signal(SIGSEGV, SIG_DFL);
    std::puts("about to crash");
    std::fflush(stdout);
    std::raise(SIGSEGV);
}
