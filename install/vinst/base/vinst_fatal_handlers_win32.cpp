#include "install/vinst/base/vinst_fatal_handlers_platform.h"

#include "install/vinst/base/vinst_platform.h"
#include "support/main/main_globals.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <windows.h>

#if defined(_MSC_VER)
#include <eh.h>
#endif

namespace
{

/// Bytes kept free on the stack, so that the handler can run after an overflow.
constexpr ULONG stack_for_handler = 64 * 1024;

std::atomic<DWORD> terminating_thread{0};

/// "Fatal error: SE -1073741819 thrown. ..."; -1 when there is no record.
void say_exception(const EXCEPTION_RECORD* record) noexcept
{
    char text[128];
    std::snprintf(text, sizeof text,
                  "Fatal error: SE %d thrown. The Veltrin Crest software will now exit.\n",
                  record != nullptr ? static_cast<int>(record->ExceptionCode) : -1);
    write_to_standard_error(text);
}

void end_by_exception(const EXCEPTION_RECORD* record)
{
    DWORD first = 0;
    const bool is_first = terminating_thread.compare_exchange_strong(first, ::GetCurrentThreadId());
    if (!is_first && first != ::GetCurrentThreadId())
        ::Sleep(INFINITE); // another thread is terminating the process
    const bool under_way = main_terminate_called(1);
    if (under_way)
    {
        std::fflush(stdout);
        write_to_standard_error(recursive_termination_text);
        end_process_now(fatal_exit_code);
    }
    try
    {
        std::fflush(stdout);
        if (main_seh_callback != nullptr)
            main_seh_callback(record);
        else
            say_exception(record);
    }
    catch (...)
    {
        std::fflush(stdout);
        write_to_standard_error(failed_termination_text);
    }
    end_process_now(fatal_exit_code);
}

#if defined(_MSC_VER)
void translate(unsigned int, EXCEPTION_POINTERS* pointers)
{
    end_by_exception(pointers != nullptr ? pointers->ExceptionRecord : nullptr);
}
#endif

LONG WINAPI on_unhandled_exception(EXCEPTION_POINTERS* pointers)
{
    end_by_exception(pointers != nullptr ? pointers->ExceptionRecord : nullptr);
    return EXCEPTION_EXECUTE_HANDLER;
}

}

void install_exception_translator()
{
    // The filter applies to every thread; a translator only to the one that sets it.
    ::SetUnhandledExceptionFilter(on_unhandled_exception);
#if defined(_MSC_VER)
    _set_se_translator(translate);
#endif
    ULONG size = stack_for_handler;
    ::SetThreadStackGuarantee(&size);
}

void end_process_now(int exit_code) noexcept
{
    std::fflush(stderr); // this C library buffers it
    restore_console();
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(exit_code));
    for (;;)
        ::Sleep(INFINITE);
}

void write_to_standard_error(const char* text) noexcept
{
    // Converts line ends as the C library would, but without its buffers.
    std::fflush(stderr);
    const HANDLE handle = ::GetStdHandle(STD_ERROR_HANDLE);
    const auto write = [handle](std::string_view part)
    {
        DWORD written = 0;
        ::WriteFile(handle, part.data(), static_cast<DWORD>(part.size()), &written, nullptr);
    };
    std::string_view rest(text);
    while (!rest.empty())
    {
        const std::size_t line_end = rest.find('\n');
        write(rest.substr(0, line_end));
        if (line_end == std::string_view::npos)
            return;
        write("\r\n");
        rest.remove_prefix(line_end + 1);
    }
}
