#include "support/curl/curl_no_proxy.h"

#include <gtest/gtest.h>

namespace
{

struct EXCEPTION
{
    const char* host;
    const char* exceptions;
    bool is_excluded;
};

constexpr EXCEPTION cases[] = {
    {"dl.example", "", false},
    {"dl.example", "*", true},
    {"[::1]", "*", true},
    {"dl.example", "a, *", false},
    // Names and their subdomains.
    {"dl.example", "dl.example", true},
    {"dl.example", ".dl.example", true},
    {"dl.example", "example", true},
    {"dl.example", ".example", true},
    {"a.b.dl.example", "dl.example", true},
    {"dl.example", "l.example", false},
    {"example", "dl.example", false},
    {"dl.example", "dl.example.test", false},
    {"DL.Example", "dl.eXAMPLE", true},
    {"dl.example.", "dl.example", true},
    {"dl.example", "dl.example.", true},
    {"dl.example", ".", false},
    {"dl.example", "..example", false},
    {"dl.example", "*.example", false},
    {"dl.example", "dl.example:80", false},
    {"dl.example", "10.0.0.1", false},
    // Lists.
    {"dl.example", "a,dl.example,b", true},
    {"dl.example", "a dl.example\tb", true},
    {"dl.example", " ,, a ,  dl.example , ", true},
    {"dl.example", "a,b", false},
    // IPv4 addresses and networks.
    {"10.1.2.3", "10.1.2.3", true},
    {"10.1.2.3", "10.1.2.4", false},
    {"10.1.2.3", "10.1.2.0/24", true},
    {"10.1.2.3", "10.1.3.0/24", false},
    {"10.1.2.3", "10.0.0.0/8,192.168.0.0/16", true},
    {"192.168.1.1", "10.0.0.0/8 192.168.0.0/16", true},
    {"10.1.2.3", "10.1.2.2/31", true},
    {"10.1.2.4", "10.1.2.2/31", false},
    {"10.1.2.3", "10.1.2.3/32", true},
    {"10.1.2.3", "10.0.0.0/33", false},
    {"10.1.2.3", "0.0.0.0/0", false},
    {"10.1.2.3", "10.1.2.3/0", true},
    {"10.1.2.3", "2.3", false},
    {"10.1.2.3", "10.1.2.3.", false},
    {"10.1.2.3", "::/8", false},
    // IPv6 addresses and networks.
    {"[2001:db8::1]", "2001:db8::1", true},
    {"[2001:db8::1]", "2001:DB8:0:0:0:0:0:1", true},
    {"2001:db8::1", "2001:db8::1", true},
    {"[2001:db8::1]", "[2001:db8::1]", true},
    {"[2001:db8::1]", "2001:db8::2", false},
    {"[2001:db8::1]", "2001:db8::/32", true},
    {"[2001:db9::1]", "2001:db8::/32", false},
    {"[2001:db8::1]", "2001:db8::/129", false},
    {"[::1]", "127.0.0.1", false},
};

}

TEST(NoProxy, ExcludesHostsByNameOrNetwork)
{
    for (const EXCEPTION& row : cases)
        EXPECT_EQ(curl_is_excluded(row.host, row.exceptions), row.is_excluded)
            << row.host << " in '" << row.exceptions << '\'';
}
