/// Acts as an installer that crashes.

#include <cstdio>

#include <windows.h>

int main()
{
    ::SetErrorMode(SEM_NOGPFAULTERRORBOX); // no error box, which would wait for a user
    std::puts("about to crash");
    std::fflush(stdout);
    ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}
