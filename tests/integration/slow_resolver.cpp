#include "tests/integration/slow_resolver.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <thread>

namespace
{

std::atomic<bool> is_slow{false};
std::atomic<int> begun{0};
std::atomic<int> running{0};

using LOOKUP = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

}

/// Stands in for the C library's look-up in this program and in the libraries that it uses.
extern "C" __attribute__((visibility("default"))) int
getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result)
{
    if (node == nullptr || std::strcmp(node, slow_host_name) != 0)
    {
        static const auto real = reinterpret_cast<LOOKUP>(dlsym(RTLD_NEXT, "getaddrinfo"));
        return real(node, service, hints, result);
    }
    ++running;
    ++begun;
    while (is_slow)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    --running;
    return EAI_NONAME;
}

int slow_lookups()
{
    return begun;
}

SLOW_RESOLVER::SLOW_RESOLVER()
{
    is_slow = true;
}

SLOW_RESOLVER::~SLOW_RESOLVER()
{
    is_slow = false;
    while (running > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}
