#include <gio/gio.h>

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <string>

namespace
{

constexpr unsigned wall_clock = 5; // seconds; the caller has a shorter limit

}

/// Prints the proxies that the desktop's settings name for the URL on standard input, one per line
/// in the order of preference, such as "http://gate:3128" or "direct://". They come from a module
/// of the desktop that may block or fail, so its caller must be another process.
int main()
{
    ::alarm(wall_clock);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);

    std::string url;
    std::getline(std::cin, url);
    GError* error = nullptr;
    const std::unique_ptr<gchar*, decltype(&g_strfreev)> proxies(
        g_proxy_resolver_lookup(g_proxy_resolver_get_default(), url.c_str(), nullptr, &error),
        &g_strfreev);
    if (proxies == nullptr)
    {
        std::cerr << (error != nullptr ? error->message : "no answer") << '\n';
        g_clear_error(&error);
        return 1;
    }
    for (gchar** proxy = proxies.get(); *proxy != nullptr; ++proxy)
        std::cout << *proxy << '\n';
    std::cout.flush();
    // Without the destructors of the desktop's modules.
    ::_exit(std::cout ? 0 : 1);
}
