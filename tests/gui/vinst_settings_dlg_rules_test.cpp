#include "install/vinst/gui/vinst_settings_dlg_rules.h"

#include "install/vinst/release/vinst_data.h"

#include <gtest/gtest.h>

TEST(SettingsDlgRules, AcceptPortsOnly)
{
    for (const char* port : {"", " ", "1", "8080", " 3128 ", "65535", "00080"})
        EXPECT_EQ(port_problem(port), "") << port;
    for (const char* port : {"0", "65536", "-1", "+80", "80a", "http", "8 0", "99999999999"})
        EXPECT_EQ(port_problem(port), "A port is a number from 1 to 65535.") << port;
}

TEST(SettingsDlgRules, PreferTheProxyThatPassedTheConnectionTest)
{
    VINST_RELEASE release;
    EXPECT_FALSE(known_default_proxy(release).has_host());
    release.proxy_info = {"gate", "3128", "", ""};
    release.proxy_info.set_source("WPAD, http://wpad/wpad.dat");
    EXPECT_EQ(known_default_proxy(release).host(), "gate");
    release.proxy_info.set_source(manual_proxy_source);
    EXPECT_FALSE(known_default_proxy(release).has_host()) << "it isn't the default one";
}

TEST(SettingsDlgRules, SayWhatIsKnownOfTheDefaultProxy)
{
    const QString meaning =
        "The default proxy is named by the environment, the system or a proxy script; at the "
        "moment ";
    CURL_PROXY_INFO proxy("gate", "3128", "ada", "secret");
    EXPECT_EQ(default_proxy_text(proxy), meaning + "it is gate:3128.");
    proxy.set_source("https_proxy");
    EXPECT_EQ(default_proxy_text(proxy), meaning + "it is gate:3128 (https_proxy).");
    CURL_PROXY_INFO none = CURL_PROXY_INFO::direct();
    none.set_source("no_proxy");
    EXPECT_EQ(default_proxy_text(none), meaning + "there is none, because of no_proxy.");
    EXPECT_EQ(default_proxy_text({}),
              meaning + "the environment names none, and the others are asked when a download "
                        "starts.");
}
