#include "support/curl/curl_proxy_environment.h"

#include <gtest/gtest.h>

#include <map>
#include <ostream>

namespace
{

using VALUES = std::map<std::string, std::string>;

CURL_VARIABLES set_to(const VALUES& values)
{
    return [values](const char* name)
    {
        const auto found = values.find(name);
        return found == values.end() ? std::string() : found->second;
    };
}

constexpr const char* http = "http://dl.example/f";
constexpr const char* https = "https://dl.example/f";

struct CHOICE
{
    const char* url;
    VALUES variables;
    const char* address;
    const char* source;
};

const CHOICE choices[] = {
    {http, {}, "", ""},
    {http, {{"http_proxy", ""}}, "", ""},
    // Which variable.
    {http, {{"http_proxy", "http://h:1"}}, "h:1", "http_proxy"},
    {http, {{"HTTP_PROXY", "http://h:1"}}, "h:1", "HTTP_PROXY"},
    {http, {{"http_proxy", "http://a:1"}, {"HTTP_PROXY", "http://b:1"}}, "a:1", "http_proxy"},
    {http, {{"http_proxy", ""}, {"HTTP_PROXY", "http://b:1"}}, "b:1", "HTTP_PROXY"},
    {http, {{"HTTP_PROXY", "http://h:1"}, {"REQUEST_METHOD", "GET"}}, "", ""},
    {http, {{"http_proxy", "http://h:1"}, {"REQUEST_METHOD", "GET"}}, "h:1", "http_proxy"},
    {http, {{"https_proxy", "http://s:1"}, {"HTTPS_PROXY", "http://s:1"}}, "", ""},
    {http, {{"all_proxy", "http://a:1"}, {"ALL_PROXY", "http://b:1"}}, "a:1", "all_proxy"},
    {http, {{"ALL_PROXY", "http://b:1"}}, "b:1", "ALL_PROXY"},
    {http, {{"ALL_PROXY", "http://b:1"}, {"HTTP_PROXY", "http://h:1"}}, "h:1", "HTTP_PROXY"},
    {https, {{"https_proxy", "http://s:1"}}, "s:1", "https_proxy"},
    {https, {{"HTTPS_PROXY", "http://s:1"}}, "s:1", "HTTPS_PROXY"},
    {https, {{"HTTPS_PROXY", "http://s:1"}, {"http_proxy", "http://h:1"}}, "s:1", "HTTPS_PROXY"},
    {https, {{"ALL_PROXY", "http://a:1"}, {"http_proxy", "http://h:1"}}, "a:1", "ALL_PROXY"},
    {https, {{"http_proxy", "http://h:1"}}, "h:1", "http_proxy"},
    {https, {{"HTTP_PROXY", "http://h:1"}}, "h:1", "HTTP_PROXY"},
    {https, {{"HTTP_PROXY", "http://h:1"}, {"REQUEST_METHOD", "GET"}}, "", ""},
    {"HTTPS://dl.example/f", {{"HTTPS_PROXY", "http://s:1"}}, "s:1", "HTTPS_PROXY"},
    // Exceptions.
    {http, {{"http_proxy", "h:1"}, {"no_proxy", "dl.example"}}, "", "no_proxy"},
    {http, {{"http_proxy", "h:1"}, {"NO_PROXY", "example"}}, "", "NO_PROXY"},
    {http, {{"http_proxy", "h:1"}, {"no_proxy", "*"}}, "", "no_proxy"},
    {http, {{"http_proxy", "h:1"}, {"no_proxy", "x"}, {"NO_PROXY", "*"}}, "h:1", "http_proxy"},
    {http, {{"http_proxy", "h:1"}, {"no_proxy", ""}, {"NO_PROXY", "*"}}, "", "NO_PROXY"},
    {"http://[2001:db8::1]:81/f",
     {{"http_proxy", "h:1"}, {"no_proxy", "2001:db8::/32"}},
     "",
     "no_proxy"},
    {"http://u:p@10.1.2.3:81/f",
     {{"http_proxy", "h:1"}, {"no_proxy", "10.0.0.0/8"}},
     "",
     "no_proxy"},
    // Values.
    {http, {{"http_proxy", "h:3128"}}, "h:3128", "http_proxy"},
    {http, {{"http_proxy", "h"}}, "h:1080", "http_proxy"},
    {http, {{"http_proxy", "http://h/"}}, "h:1080", "http_proxy"},
    {http, {{"http_proxy", "http://h:/"}}, "h:1080", "http_proxy"},
    {http, {{"http_proxy", "http://h:3128/path?x#y"}}, "h:3128", "http_proxy"},
    {http, {{"http_proxy", "HTTP://h:3128"}}, "h:3128", "http_proxy"},
    {http, {{"http_proxy", "https://h"}}, "https://h:443", "http_proxy"},
    {http, {{"http_proxy", "socks5h://h"}}, "socks5h://h:1080", "http_proxy"},
    {http, {{"http_proxy", "socks5h://h:1081"}}, "socks5h://h:1081", "http_proxy"},
    {http, {{"http_proxy", "socks5://h:1080"}}, "socks5://h:1080", "http_proxy"},
    {http, {{"http_proxy", "socks4a://h:1080"}}, "socks4a://h:1080", "http_proxy"},
    {http, {{"http_proxy", "http://[::1]:3128"}}, "[::1]:3128", "http_proxy"},
    {http, {{"http_proxy", "[::1]:3128"}}, "[::1]:3128", "http_proxy"},
    {http, {{"http_proxy", "http://[::1]"}}, "[::1]:1080", "http_proxy"},
    {http, {{"http_proxy", "socks5h://[::1]:1"}}, "socks5h://[::1]:1", "http_proxy"},
    // Values that are no address remain as they are.
    {http, {{"http_proxy", "http://h:0"}}, "http://h:0", "http_proxy"},
    {http, {{"http_proxy", "http://h:65536"}}, "http://h:65536", "http_proxy"},
    {http, {{"http_proxy", "http://h:x"}}, "http://h:***", "http_proxy"},
    {http, {{"http_proxy", "http://"}}, "http://", "http_proxy"},
    {http, {{"http_proxy", "://h:1"}}, "://h:1", "http_proxy"},
    {http, {{"http_proxy", "two words"}}, "two words", "http_proxy"},
};

struct CREDENTIALS
{
    const char* value;
    const char* address;
    const char* username;
    const char* password;
};

const CREDENTIALS credentials[] = {
    {"http://ada@h:1", "h:1", "ada", ""},
    {"http://ada:@h:1", "h:1", "ada", ""},
    {"http://ada:pw@h:1", "h:1", "ada", "pw"},
    {"ada:pw@h:1", "h:1", "ada", "pw"},
    {"ada:pw@h", "h:1080", "ada", "pw"},
    {"socks5h://ada:pw@h:1", "socks5h://h:1", "ada", "pw"},
    {"http://ada:pw@[::1]:1", "[::1]:1", "ada", "pw"},
    {"http://corp%5Cada:p%40s%3As@h:1", "h:1", "corp\\ada", "p@s:s"},
    {"http://corp\\ada:p@s:s@h:1", "h:1", "corp\\ada", "p@s:s"},
    {"http://ada:p/w?x#y@h:1", "h:1", "ada", "p/w?x#y"},
    {"http://ada:50%@h:1", "h:1", "ada", "50%"},
    {"http://ada:%zz%4@h:1", "h:1", "ada", "%zz%4"},
    {"http://ada:%c3%A4@h:1", "h:1", "ada", "\xc3\xa4"},
    {"ada:x://y@h:1", "h:1", "ada", "x://y"},
};

}

TEST(EnvironmentProxy, IsChosenForTheUrl)
{
    for (const CHOICE& row : choices)
    {
        const CURL_PROXY_INFO proxy = curl_environment_proxy(row.url, set_to(row.variables));
        std::string variables = row.url;
        for (const auto& [name, value] : row.variables)
            variables += ' ' + name + '=' + value;
        EXPECT_EQ(proxy.address(), row.address) << variables;
        EXPECT_EQ(proxy.source(), row.source) << variables;
        EXPECT_EQ(proxy.is_direct(), !proxy.has_host()) << variables;
        EXPECT_TRUE(proxy.follows_environment()) << variables;
    }
}

TEST(EnvironmentProxy, HasTheCredentialsOfItsVariableInAnySpelling)
{
    for (const char* name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"})
        for (const CREDENTIALS& row : credentials)
        {
            const CURL_PROXY_INFO proxy = curl_environment_proxy(http, set_to({{name, row.value}}));
            EXPECT_EQ(proxy.address(), row.address) << row.value;
            EXPECT_EQ(proxy.username(), row.username) << row.value;
            EXPECT_EQ(proxy.password(), row.password) << row.value;
        }
}

TEST(EnvironmentProxy, IsNotUsedInsteadOfAnotherOne)
{
    const CURL_VARIABLES variables = set_to({{"http_proxy", "h:1"}, {"no_proxy", "dl.example"}});
    EXPECT_EQ(curl_proxy_for(http, {"own", "2", "", ""}, variables).address(), "own:2");
    EXPECT_TRUE(curl_proxy_for("http://b/", CURL_PROXY_INFO::direct(), variables).is_direct());
    EXPECT_EQ(curl_proxy_for("http://b/", {}, variables).address(), "h:1");
    EXPECT_TRUE(curl_proxy_for(http, {}, variables).is_direct());
}

TEST(EnvironmentProxy, IsChosenAgainForAnotherUrl)
{
    const CURL_VARIABLES variables =
        set_to({{"http_proxy", "ada:pw@h:1"}, {"https_proxy", "s:2"}, {"no_proxy", "b"}});
    const CURL_PROXY_INFO setting = curl_environment_proxy(http, variables);
    EXPECT_EQ(curl_proxy_for(http, setting, variables).username(), "ada");
    const CURL_PROXY_INFO other = curl_proxy_for(https, setting, variables);
    EXPECT_EQ(other.address(), "s:2");
    EXPECT_EQ(other.username(), "") << "credentials of another proxy";
    EXPECT_TRUE(curl_proxy_for("http://b/", setting, variables).is_direct());
}

TEST(EnvironmentProxy, GetsTheCredentialsThatWereAdded)
{
    const CURL_VARIABLES variables = set_to({{"http_proxy", "ada:pw@h:1"}, {"https_proxy", "s:2"}});
    CURL_PROXY_INFO setting = curl_environment_proxy(http, variables);
    setting.set_username("bob");
    setting.set_unecrypted_password("own");
    for (const char* url : {http, https})
    {
        EXPECT_EQ(curl_proxy_for(url, setting, variables).username(), "bob");
        EXPECT_EQ(curl_proxy_for(url, setting, variables).password(), "own");
        EXPECT_EQ(curl_proxy_for(url, {"", "", "bob", "own"}, variables).username(), "bob");
    }
}
