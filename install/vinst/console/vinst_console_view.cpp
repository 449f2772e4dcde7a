#include "install/vinst/console/vinst_console_view.h"

#include "install/vinst/base/vinst_print.h"
#include "install/vinst/console/vinst_plain_view.h"
#include "install/vinst/console/vinst_terminal_view.h"
#include "support/curl/curl_plain_text.h"

void VINST_CONSOLE_VIEW::show_connection_attempt(const std::string& host, const std::string& port)
{
    print_text("Testing internet connection ... \nINFO: Proxy server: " + curl_plain_text(host) +
               ", port:" + curl_plain_text(port) + "\n");
}

void VINST_CONSOLE_VIEW::show_proxy_source(const std::string& source)
{
    print_text("INFO: Proxy source: " + curl_plain_text(source) + "\n");
}

void VINST_CONSOLE_VIEW::show_proxy_exclusion(const std::string& variable)
{
    print_text("INFO: No proxy: excluded by " + curl_plain_text(variable) + "\n");
}

std::unique_ptr<VINST_CONSOLE_VIEW> make_console_view()
{
    if (stdout_is_terminal())
        return std::make_unique<VINST_TERMINAL_VIEW>();
    return std::make_unique<VINST_PLAIN_VIEW>();
}
