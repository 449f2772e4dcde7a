#include "support/curl/curl_proxy_info.h"

#include <gtest/gtest.h>

TEST(ProxyInfo, InitiallyNamesNoProxy)
{
    const CURL_PROXY_INFO none;
    EXPECT_FALSE(none.has_host());
    EXPECT_EQ(none.address(), "");
    EXPECT_EQ(none.username(), "");
    EXPECT_EQ(none.password(), "");
}

TEST(ProxyInfo, StoresItsFourTextsUnchanged)
{
    const CURL_PROXY_INFO proxy("socks5://gate", "1080", "ada", "s%:@ ");
    EXPECT_TRUE(proxy.has_host());
    EXPECT_EQ(proxy.host(), "socks5://gate");
    EXPECT_EQ(proxy.port(), "1080");
    EXPECT_EQ(proxy.username(), "ada");
    EXPECT_EQ(proxy.password(), "s%:@ ");
}

TEST(ProxyInfo, HasNoCredentialsInItsAddress)
{
    EXPECT_EQ(CURL_PROXY_INFO("gate", "8080", "ada", "secret").address(), "gate:8080");
    EXPECT_EQ(CURL_PROXY_INFO("http://gate", "", "ada", "secret").address(), "http://gate");
}

TEST(ProxyInfo, AcceptsCredentialsLater)
{
    CURL_PROXY_INFO proxy("gate", "8080", "", "");
    proxy.set_username("ada");
    proxy.set_unecrypted_password("secret");
    EXPECT_EQ(proxy.username(), "ada");
    EXPECT_EQ(proxy.password(), "secret");
    EXPECT_EQ(proxy.address(), "gate:8080");
}
