#include "support/fio/fio_flusher.h"

#include "support/fio/fio_append_file.h"

#include <algorithm>
#include <utility>

FIO_FLUSHER::FIO_FLUSHER(FLUSH flush, std::function<void()> on_end)
    : m_flush(std::move(flush)), m_on_end(std::move(on_end))
{
}

FIO_FLUSHER::~FIO_FLUSHER()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
        m_queue.clear();
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

bool FIO_FLUSHER::request(const FIO_APPEND_FILE& file)
{
    const std::lock_guard lock(m_mutex);
    if (const auto queued = find(file.path()); queued != m_queue.end())
    {
        queued->size = file.size();
        return true;
    }
    // Without a handle or a thread nothing is lost: the integrity check flushes a complete file.
    std::unique_ptr<FIO_FLUSH_HANDLE> handle = file.flush_handle();
    if (handle == nullptr || !start_thread())
        return false;
    m_queue.push_back({file.path(), std::move(handle), file.size()});
    m_changed.notify_one();
    return true;
}

void FIO_FLUSHER::withdraw(const FIO_APPEND_FILE& file)
{
    const std::lock_guard lock(m_mutex);
    if (const auto request = find(file.path()); request != m_queue.end())
        m_queue.erase(request);
}

bool FIO_FLUSHER::is_flushing(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    return m_running == path || find(path) != m_queue.end();
}

std::uint64_t FIO_FLUSHER::flushed_size(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    const auto flushed = m_flushed.find(path);
    return flushed != m_flushed.end() ? flushed->second : 0;
}

std::error_code FIO_FLUSHER::error_of(const FIO_APPEND_FILE& file)
{
    const std::lock_guard lock(m_mutex);
    const auto error = m_errors.find(file.path());
    return error != m_errors.end() ? error->second : std::error_code();
}

std::deque<FIO_FLUSHER::REQUEST>::iterator FIO_FLUSHER::find(const std::string& path)
{
    return std::find_if(m_queue.begin(), m_queue.end(),
                        [&path](const REQUEST& request) { return request.path == path; });
}

bool FIO_FLUSHER::start_thread()
{
    if (m_thread.joinable())
        return true;
    try
    {
        m_thread = std::thread([this] { run(); });
        return true;
    }
    catch (const std::system_error&)
    {
        return false;
    }
}

void FIO_FLUSHER::run()
{
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_changed.wait(lock, [this] { return m_stop || !m_queue.empty(); });
        if (m_stop)
            return;
        REQUEST request = std::move(m_queue.front());
        m_queue.pop_front();
        m_running = request.path;

        lock.unlock();
        const std::error_code error = m_flush(*request.file);
        request.file.reset();
        lock.lock();
        m_running.clear();
        if (error)
            m_errors[request.path] = error;
        else
            m_flushed[request.path] = request.size;
        if (m_on_end)
            m_on_end();
    }
}
