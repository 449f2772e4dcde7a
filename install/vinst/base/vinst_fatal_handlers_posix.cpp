#include "install/vinst/base/vinst_fatal_handlers_platform.h"

#include "support/main/main_globals.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

// This file's code runs in signal handlers: only system calls and lock-free atomics are allowed.

std::atomic<long> terminating_thread{0};

long this_thread() noexcept
{
    return ::syscall(SYS_gettid);
}

/// "Fatal error: SE 11 thrown. ..." without the C library's formatting.
void say_signal(int signal_number) noexcept
{
    std::array<char, 12> digits{};
    std::size_t first = digits.size() - 1;
    for (int rest = signal_number; rest > 0; rest /= 10)
        digits[--first] = static_cast<char>('0' + rest % 10);
    write_to_standard_error("Fatal error: SE ");
    write_to_standard_error(digits.data() + first);
    write_to_standard_error(" thrown. The Veltrin Crest software will now exit.\n");
}

extern "C" void on_fatal_signal(int signal_number, siginfo_t* info, void*)
{
    long first = 0;
    const bool is_first = terminating_thread.compare_exchange_strong(first, this_thread());
    if (!is_first && first != this_thread())
    {
        // Another thread is terminating the process; returning would raise the fault again.
        for (;;)
            ::pause();
    }
    if (main_terminate_called(1))
    {
        write_to_standard_error(recursive_termination_text);
        end_process_now(fatal_exit_code);
    }
    if (main_seh_callback != nullptr)
        main_seh_callback(info);
    else
        say_signal(signal_number);
    end_process_now(fatal_exit_code);
}

}

void install_exception_translator()
{
    // The handler can't run on a stack that has overflowed.
    static std::array<char, 64 * 1024> handler_stack;
    stack_t stack = {};
    stack.ss_sp = handler_stack.data();
    stack.ss_size = handler_stack.size();
    ::sigaltstack(&stack, nullptr);

    struct sigaction action = {};
    action.sa_sigaction = on_fatal_signal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    ::sigemptyset(&action.sa_mask);
    for (const int signal_number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        ::sigaction(signal_number, &action, nullptr);
}

void end_process_now(int exit_code) noexcept
{
    ::_exit(exit_code);
}

void write_to_standard_error(const char* text) noexcept
{
    std::size_t left = std::strlen(text);
    while (left > 0)
    {
        const ssize_t written = ::write(STDERR_FILENO, text, left);
        if (written <= 0)
            return;
        text += written;
        left -= static_cast<std::size_t>(written);
    }
}
