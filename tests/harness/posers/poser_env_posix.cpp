/// Prints its working directory, its arguments and its environment, one per line: "cwd PATH",
/// "arg TEXT", "env NAME=VALUE".

#include <cstdio>
#include <filesystem>
#include <unistd.h>

int main(int count, char** arguments)
{
    std::printf("cwd %s\n", std::filesystem::current_path().c_str());
    for (int index = 1; index < count; ++index)
        std::printf("arg %s\n", arguments[index]);
    for (char** variable = environ; *variable != nullptr; ++variable)
        std::printf("env %s\n", *variable);
}
