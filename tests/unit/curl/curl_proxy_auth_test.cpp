#include "support/curl/curl_proxy_auth.h"

#include <gtest/gtest.h>

namespace
{

/// The bit of a scheme in libcurl's sets; 0 if it has none.
long bit_of(const std::string& name)
{
    for (int i = 0; i < 31; ++i)
        if (curl_auth_names(1L << i) == name)
            return 1L << i;
    return 0;
}

const long negotiate = bit_of("Negotiate");
const long digest = bit_of("Digest");
const long ntlm = bit_of("NTLM");
const long basic = bit_of("Basic");

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
