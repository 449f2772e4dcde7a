#include "install/vinst/base/vinst_print.h"

#include "install/vinst/base/vinst_print_platform.h"
#include "support/thr/thr_sleep.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace
{

/// How long all texts together may wait for the reader after a stop request.
constexpr std::chrono::milliseconds patience_after_stop{1000};

/// Writes on a separate thread. No system has a write that is certain not to block: a non-blocking
/// descriptor would be one for every program on the same terminal or pipe, and the space that
/// poll() reports may be gone when the text is written.
class PRINTER
{
public:
    PRINTER()
    {
        try
        {
            std::thread([this] { write_texts(); }).detach();
            m_has_thread = true;
        }
        catch (const std::system_error&)
        {
            // Without a thread, printing may block.
        }
    }

    void print(const std::string& text)
    {
        if (text.empty())
            return;
        if (!m_has_thread)
            return write_to_standard_output(text);

        bool is_stopping = false; // guarded by the mutex
        const THR_STOP_SUBSCRIPTION subscription(
            [&]
            {
                const std::lock_guard lock(m_mutex);
                is_stopping = true;
                m_changed.notify_all();
            });
        const auto is_written_or_late = [&] { return m_text.empty() || is_stopping; };

        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, is_written_or_late);
        if (!is_written_in_time(lock))
            return; // the reader hasn't taken the previous text
        m_text = text;
        m_changed.notify_all();
        m_changed.wait(lock, is_written_or_late);
        is_written_in_time(lock);
    }

private:
    /// Waits until the text has been written or the patience is used up.
    bool is_written_in_time(std::unique_lock<std::mutex>& lock)
    {
        if (m_text.empty())
            return true;
        const auto begin = std::chrono::steady_clock::now();
        const bool is_written =
            m_changed.wait_for(lock, m_patience, [this] { return m_text.empty(); });
        m_patience -= std::min<std::chrono::nanoseconds>(m_patience,
                                                         std::chrono::steady_clock::now() - begin);
        return is_written;
    }

    [[noreturn]] void write_texts()
    {
        std::unique_lock lock(m_mutex);
        for (;;)
        {
            m_changed.wait(lock, [this] { return !m_text.empty(); });
            const std::string text = m_text;
            lock.unlock();
            write_to_standard_output(text);
            lock.lock();
            m_text.clear();
            m_changed.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_text; ///< being written; guarded by the mutex, empty when there is none
    std::chrono::nanoseconds m_patience = patience_after_stop; ///< what is left of it
    bool m_has_thread = false;
};

/// Never destroyed, because its thread may still be blocked when the program ends.
PRINTER& printer()
{
    static auto* const the_printer = new PRINTER;
    return *the_printer;
}

}

void print_text(const std::string& text)
{
    printer().print(text);
}
