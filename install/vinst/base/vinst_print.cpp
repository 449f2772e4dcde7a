#include "install/vinst/base/vinst_print.h"

#include "install/vinst/base/vinst_print_platform.h"
#include "support/thr/thr_sleep.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace
{

/// How long a text may take after a stop request.
constexpr std::chrono::milliseconds grace_after_stop{300};

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
        const auto is_written = [this] { return m_text.empty(); };
        const auto is_written_or_late = [&] { return m_text.empty() || is_stopping; };

        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, is_written_or_late);
        if (!is_written())
            return; // the reader hasn't taken the previous text
        m_text = text;
        m_changed.notify_all();
        m_changed.wait(lock, is_written_or_late);
        m_changed.wait_for(lock, grace_after_stop, is_written);
    }

private:
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
