#include "tests/integration/slow_resolver.h"
#include "tests/harness/wait_until.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>

namespace
{

std::atomic<bool> is_slow{false};
std::atomic<int> begun{0};
std::atomic<int> running{0};

using LOOKUP = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

}

/// Replaces the C library's function in this program and in the libraries that it uses.
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
    // Blocks until the SLOW_RESOLVER is destroyed; its destructor waits for this function.
    static_cast<void>(wait_until([] { return !is_slow; }, std::chrono::hours(1)));
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
    // Otherwise the function could still be running when the program ends.
    static_cast<void>(wait_until([] { return running == 0; }, std::chrono::hours(1)));
}
