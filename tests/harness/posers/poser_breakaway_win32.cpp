/// Acts as an installer that starts a program outside its own job, and exits with the error code of
/// the system if it can't: 0 if that program runs in no job.

#include <cstdio>

#include <windows.h>

int main()
{
    wchar_t command[] = L"cmd.exe /c exit";
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    PROCESS_INFORMATION started = {};
    if (::CreateProcessW(nullptr, command, nullptr, nullptr, FALSE,
                         CREATE_BREAKAWAY_FROM_JOB | CREATE_SUSPENDED, nullptr, nullptr, &how,
                         &started) == FALSE)
        return static_cast<int>(::GetLastError());
    BOOL is_in_job = TRUE;
    ::IsProcessInJob(started.hProcess, nullptr, &is_in_job);
    ::ResumeThread(started.hThread);
    ::WaitForSingleObject(started.hProcess, INFINITE);
    std::puts(is_in_job != FALSE ? "in a job" : "in no job");
    return is_in_job != FALSE ? 1 : 0;
}
