/// Acts as an installer that hangs: prints "ready" and sleeps until it is killed. With --stubborn
/// it ignores requests to end; with --child a child process hangs too and keeps its outputs open;
/// with --orphan only the child hangs and the parent exits. A child's process ID is printed as
/// "child N". With --mark FILE the file is created when it is ready.

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
