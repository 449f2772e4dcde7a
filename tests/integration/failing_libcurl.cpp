#include "tests/integration/failing_libcurl.h"

#include <atomic>
#include <dlfcn.h>

namespace
{

constexpr int never = -1;

/// The number of calls that succeed before the others fail, or `never`.
std::atomic<int> good_inits{never};
std::atomic<int> good_adds{never};

std::atomic<int> open_transfers{0};
std::atomic<int> most_open{0};

constexpr int out_of_memory = 3; // CURLM_OUT_OF_MEMORY

std::atomic<int>& count_of(FAILING_LIBCURL::CALL call)
{
    return call == FAILING_LIBCURL::CALL::multi_init ? good_inits : good_adds;
}

/// To be called by one thread at a time.
bool next_call_fails(std::atomic<int>& good_calls)
{
    if (good_calls > 0)
    {
        --good_calls;
        return false;
    }
    return good_calls != never;
}

}

// They replace libcurl's functions in this program.

extern "C" __attribute__((visibility("default"))) void* curl_multi_init()
{
    static const auto real = reinterpret_cast<void* (*)()>(dlsym(RTLD_NEXT, "curl_multi_init"));
    return next_call_fails(good_inits) ? nullptr : real();
}

extern "C" __attribute__((visibility("default"))) int curl_multi_add_handle(void* multi, void* easy)
{
    static const auto real =
        reinterpret_cast<int (*)(void*, void*)>(dlsym(RTLD_NEXT, "curl_multi_add_handle"));
    if (next_call_fails(good_adds))
        return out_of_memory;
    const int now = ++open_transfers;
    int most = most_open;
    while (most < now && !most_open.compare_exchange_weak(most, now))
    {
    }
    return real(multi, easy);
}

extern "C" __attribute__((visibility("default"))) int curl_multi_remove_handle(void* multi,
                                                                               void* easy)
{
    static const auto real =
        reinterpret_cast<int (*)(void*, void*)>(dlsym(RTLD_NEXT, "curl_multi_remove_handle"));
    const int result = real(multi, easy);
    --open_transfers;
    return result;
}

FAILING_LIBCURL::FAILING_LIBCURL(CALL call, int good_calls) : m_call(call)
{
    count_of(m_call) = good_calls;
}

FAILING_LIBCURL::~FAILING_LIBCURL()
{
    count_of(m_call) = never;
}

OPEN_TRANSFERS::OPEN_TRANSFERS()
{
    most_open = open_transfers.load();
}

int OPEN_TRANSFERS::most() const
{
    return most_open;
}
