/// Poses as an installer that hangs: prints "ready" and sleeps until it is ended. With --stubborn
/// SIGINT and SIGTERM don't end it; with --child a child of it hangs too and holds its outputs
/// open; with --orphan the child hangs and it exits itself. A child's number is printed as "child
/// N". With --mark FILE the file appears when it is ready.

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
