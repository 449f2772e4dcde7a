#include "tests/integration/failing_libcurl.h"

#include <atomic>
#include <dlfcn.h>

namespace
{

std::atomic<bool> init_fails{false};
std::atomic<bool> add_fails{false};

constexpr int out_of_memory = 3; // CURLM_OUT_OF_MEMORY

std::atomic<bool>& flag_of(FAILING_LIBCURL::CALL call)
{
    return call == FAILING_LIBCURL::CALL::multi_init ? init_fails : add_fails;
}

}

// They replace libcurl's functions in this program.

extern "C" __attribute__((visibility("default"))) void* curl_multi_init()
{
    static const auto real = reinterpret_cast<void* (*)()>(dlsym(RTLD_NEXT, "curl_multi_init"));
    return init_fails ? nullptr : real();
}

extern "C" __attribute__((visibility("default"))) int curl_multi_add_handle(void* multi, void* easy)
{
    static const auto real =
        reinterpret_cast<int (*)(void*, void*)>(dlsym(RTLD_NEXT, "curl_multi_add_handle"));
    return add_fails ? out_of_memory : real(multi, easy);
}

FAILING_LIBCURL::FAILING_LIBCURL(CALL call) : m_call(call)
{
    flag_of(m_call) = true;
}

FAILING_LIBCURL::~FAILING_LIBCURL()
{
    flag_of(m_call) = false;
}
