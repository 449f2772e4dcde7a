/// Poses as an installer that hangs: prints "ready" and sleeps until it is ended. With --stubborn
/// requests to end don't end it; with --child a child of it hangs too and holds its outputs open;
/// with --orphan the child hangs and it exits itself. A child's number is printed as "child N".
/// With --mark FILE the file appears when it is ready.

#include <cstdio>
#include <cstring>

#include <windows.h>

namespace
{

BOOL WINAPI pay_no_heed(DWORD)
{
    return TRUE;
}

unsigned long start_child()
{
    wchar_t command[4096];
    ::GetModuleFileNameW(nullptr, command, 4096);
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    PROCESS_INFORMATION started = {};
    ::CreateProcessW(command, nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how, &started);
    return started.dwProcessId;
}

}

int main(int count, char** arguments)
{
    bool with_child = false;
    bool leaves = false;
    const char* mark = nullptr;
    for (int index = 1; index < count; ++index)
    {
        if (std::strcmp(arguments[index], "--stubborn") == 0)
            ::SetConsoleCtrlHandler(pay_no_heed, TRUE);
        if (std::strcmp(arguments[index], "--mark") == 0 && index + 1 < count)
            mark = arguments[++index];
        leaves = leaves || std::strcmp(arguments[index], "--orphan") == 0;
        with_child = with_child || leaves || std::strcmp(arguments[index], "--child") == 0;
    }
    if (with_child)
        std::printf("child %lu\n", start_child());
    std::puts("ready");
    std::fflush(stdout);
    if (mark != nullptr)
        if (std::FILE* const file = std::fopen(mark, "w"))
            std::fclose(file);
    if (leaves)
        return 0;
    ::Sleep(INFINITE);
}
