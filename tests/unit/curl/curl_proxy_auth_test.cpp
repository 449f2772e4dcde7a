#include "support/curl/curl_proxy_auth.h"

#include <curl/curl.h>

#include <gtest/gtest.h>

namespace
{

constexpr long negotiate = static_cast<long>(CURLAUTH_NEGOTIATE);
constexpr long digest = static_cast<long>(CURLAUTH_DIGEST);
constexpr long ntlm = static_cast<long>(CURLAUTH_NTLM);
constexpr long basic = static_cast<long>(CURLAUTH_BASIC);

}

TEST(ProxyAuth, BeginsWithTheSchemesThatUseAPassword)
{
    EXPECT_EQ(curl_first_proxy_auth(), digest | ntlm | basic);
}

TEST(ProxyAuth, TriesTheWeakerSchemesOneAfterTheOther)
{
    const long offered = negotiate | digest | ntlm | basic;
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, offered, true), ntlm | basic);
    EXPECT_EQ(curl_next_proxy_auth(ntlm | basic, offered, true), basic);
    EXPECT_EQ(curl_next_proxy_auth(basic, offered, true), 0);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, negotiate | ntlm | basic, true), basic);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, digest | basic, true), basic);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, basic, true), 0);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, digest, true), 0);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, negotiate, true), 0);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, 0, true), 0);
}

TEST(ProxyAuth, TriesATicketOnceWithoutAPassword)
{
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, negotiate | basic, false), negotiate);
    EXPECT_EQ(curl_next_proxy_auth(negotiate, negotiate | basic, false), 0);
    EXPECT_EQ(curl_next_proxy_auth(digest | ntlm | basic, digest | basic, false), 0);
}

TEST(ProxyAuth, HasTheNamesOfTheProtocol)
{
    EXPECT_EQ(curl_auth_names(basic | negotiate), "Negotiate, Basic");
    EXPECT_EQ(curl_auth_names(basic | ntlm | digest), "Digest, NTLM, Basic");
    EXPECT_EQ(curl_auth_names(0), "");
}
