/// Prints its working directory, its arguments and its environment, one per line: "cwd PATH",
/// "arg TEXT", "env NAME=VALUE".

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <windows.h>

#include <shellapi.h>

int main()
{
    int count = 0;
    wchar_t** const arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::printf("cwd %s\n", std::filesystem::current_path().u8string().c_str());
    for (int index = 1; index < count; ++index)
        std::printf("arg %s\n", std::filesystem::path(arguments[index]).u8string().c_str());
    for (char** variable = _environ; *variable != nullptr; ++variable)
        std::printf("env %s\n", *variable);
}
