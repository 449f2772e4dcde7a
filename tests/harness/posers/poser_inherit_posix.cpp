/// Prints what it has inherited: "descriptors 0 1 2", and "ignored N" for each signal that is
/// ignored. Into the file of that name if there is an argument.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <set>

namespace
{

std::set<int> open_descriptors()
{
    std::set<int> found;
    DIR* const directory = ::opendir("/proc/self/fd");
    if (directory == nullptr)
        return found;
    while (const dirent* const entry = ::readdir(directory))
        if (entry->d_name[0] != '.')
            found.insert(std::atoi(entry->d_name));
    found.erase(::dirfd(directory));
    ::closedir(directory);
    return found;
}

}

int main(int count, char** arguments)
{
    const std::set<int> descriptors = open_descriptors(); // before the file is opened
    std::FILE* const output = count > 1 ? std::fopen(arguments[1], "w") : stdout;
    if (output == nullptr)
        return 1;
    std::fputs("descriptors", output);
    for (const int descriptor : descriptors)
        std::fprintf(output, " %d", descriptor);
    std::fputs("\n", output);
    for (int number = 1; number < SIGRTMIN; ++number)
    {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            std::fprintf(output, "ignored %d\n", number);
    }
    std::fputs("end\n", output);
    return std::fclose(output);
}
