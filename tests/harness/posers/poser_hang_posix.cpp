/// Acts as an installer that hangs: prints "ready" and sleeps until it is killed. With --stubborn
/// it ignores SIGINT and SIGTERM; with --child a child process hangs too and keeps its outputs
/// open; with --orphan only the child hangs and the parent exits. A child's process ID is printed
/// as "child N". With --mark FILE the file is created when it is ready.

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

int main(int count, char** arguments)
{
    bool with_child = false;
    bool leaves = false;
    const char* mark = nullptr;
    for (int index = 1; index < count; ++index)
    {
        if (std::strcmp(arguments[index], "--stubborn") == 0)
        {
            std::signal(SIGINT, SIG_IGN);
            std::signal(SIGTERM, SIG_IGN);
        }
        if (std::strcmp(arguments[index], "--mark") == 0 && index + 1 < count)
            mark = arguments[++index];
        leaves = leaves || std::strcmp(arguments[index], "--orphan") == 0;
        with_child = with_child || leaves || std::strcmp(arguments[index], "--child") == 0;
    }
    const pid_t child = with_child ? ::fork() : -1;
    if (child > 0)
        std::printf("child %d\n", static_cast<int>(child));
    if (child != 0)
    {
        std::puts("ready");
        std::fflush(stdout);
    }
    if (child != 0 && mark != nullptr)
        ::close(::open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (child > 0 && leaves)
        return 0;
    for (;;)
        ::pause();
}
