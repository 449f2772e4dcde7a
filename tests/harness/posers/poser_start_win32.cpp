/// Starts a program like a shell in which these variables are set: "poser_start NAME=VALUE...
/// -- PROGRAM ARGUMENT...", and exits with its code. Wine doesn't pass on variables such as TEMP.

#include <cstdio>
#include <string>

#include <windows.h>

#include <shellapi.h>

namespace
{

/// Quotes a text so that CommandLineToArgvW restores it.
std::wstring quoted(const std::wstring& text)
{
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t letter : text)
    {
        backslashes = letter == L'\\' ? backslashes + 1 : backslashes;
        if (letter == L'"')
            result.append(backslashes + 1, L'\\');
        if (letter != L'\\')
            backslashes = 0;
        result += letter;
    }
    return result.append(backslashes, L'\\') + L'"';
}

BOOL WINAPI leave_it_to_the_program(DWORD)
{
    return TRUE;
}

}

int main()
{
    int count = 0;
    wchar_t** const arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    int next = 1;
    for (; next < count && std::wstring(arguments[next]) != L"--"; ++next)
    {
        const std::wstring variable = arguments[next];
        const std::size_t equals = variable.find(L'=');
        ::SetEnvironmentVariableW(variable.substr(0, equals).c_str(),
                                  variable.substr(equals + 1).c_str());
    }
    std::wstring command;
    for (++next; next < count; ++next)
        command += (command.empty() ? L"" : L" ") + quoted(arguments[next]);

    ::SetConsoleCtrlHandler(leave_it_to_the_program, TRUE);
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    PROCESS_INFORMATION started = {};
    if (::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how,
                         &started) == FALSE)
    {
        std::fprintf(stderr, "cannot be started: error %lu\n", ::GetLastError());
        return 125;
    }
    ::WaitForSingleObject(started.hProcess, INFINITE);
    DWORD code = 125;
    ::GetExitCodeProcess(started.hProcess, &code);
    return static_cast<int>(code);
}
