#pragma once

#include "tests/harness/child_setup.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>

/// A program that runs in parallel with the test, in its own session and process group. Its output
/// is read continuously, so that it never blocks on the test. The constructor starts it and throws
/// std::runtime_error on failure; the destructor kills what is left of its process group. If the
/// test process is killed, a child that was started by the main thread is killed, too.
///
/// All members may be called on any thread.
class CHILD_PROCESS final
{
public:
    explicit CHILD_PROCESS(const CHILD_SETUP& setup);
    ~CHILD_PROCESS();
    CHILD_PROCESS(const CHILD_PROCESS&) = delete;
    CHILD_PROCESS& operator=(const CHILD_PROCESS&) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// What it has written so far. With a terminal, everything is in the output, and lines end with
    /// "\r\n".
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;

    /// Waits until the output or the errors contain the text; false if the time limit is reached or
    /// the child ends first.
    bool wait_for_output(std::string_view text, std::chrono::milliseconds timeout);
    bool
    wait_for(const std::function<bool(const std::string& output, const std::string& errors)>& met,
             std::chrono::milliseconds timeout);

    /// Nothing if it is still running after that time. The output then contains everything that the
    /// child itself has written; output of its own children may follow.
    std::optional<CHILD_RESULT> wait(std::chrono::milliseconds timeout);
    [[nodiscard]] bool is_running() const;

    void send_signal(int signal_number) const;
    void send_signal_to_group(int signal_number) const;

    /// Types on its terminal: "\x03" is Ctrl-C.
    void type(std::string_view keys) const;

    /// Resizes its terminal. The child is stopped meanwhile, so that what it writes for the old and
    /// for the new size can be told apart.
    /// \return the length of the output before the resize
    std::size_t resize(CHILD_TERMINAL size);

private:
    void read_all();
    void await_end();
    void read_available(int& descriptor, std::string& into);
    void resize_if_requested();
    void stop_and_wait() const;

    pid_t m_pid = -1;
    int m_output_end = -1; ///< the terminal's master side if there is one
    int m_errors_end = -1; ///< -1 with a terminal
    int m_terminal = -1;   ///< a second descriptor of the master side, for typing
    int m_wake = -1;       ///< event descriptor: the child has ended, a resize is requested, or
                           ///< destruction has begun

    mutable std::mutex m_mutex; ///< guards all below; both threads write it, callers read it
    std::condition_variable m_changed;
    std::string m_output;
    std::string m_errors;
    std::optional<CHILD_RESULT> m_result;
    bool m_drained = false; ///< everything that was written before the end has been read
    bool m_closing = false;
    std::optional<CHILD_TERMINAL> m_requested_size; ///< reset when the terminal has it
    std::size_t m_length_at_resize = 0;

    std::thread m_reader;
    std::thread m_waiter;
};

/// Runs a program to completion and returns its output; throws if it fails or takes over 30 s.
std::string run_tool(const CHILD_SETUP& setup);
