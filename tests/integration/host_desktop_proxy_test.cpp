#include "tests/harness/proxy_server.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/desktop_session.h"
#include "tests/integration/host_fixture.h"

#include <unistd.h>

namespace
{

/// The console host in a session of a desktop, with a private D-Bus and settings of its own user.
class HostDesktop : public HostTest
{
protected:
    void SetUp() override
    {
        if (const std::string obstacle = obstacle_to_desktop_session(); !obstacle.empty())
            GTEST_SKIP() << obstacle;
        builder.component("one").pattern_content(3000, 1);
        publish();
    }

    /// Runs the host after some commands in the session.
    void run_in_session(const std::string& commands, const ARGUMENTS& arguments)
    {
        CHILD_PROCESS process(in_desktop_session(setup(arguments), commands, dir.path()));
        ASSERT_TRUE(process.wait(120s)) << process.output() << process.errors();
        output = process.output();
        errors = process.errors();
    }

    std::string tested_through(const PROXY_SERVER& gate, const std::string& source) const
    {
        return "Testing internet connection ... \nINFO: Proxy server: 127.0.0.1, port:" +
               std::to_string(gate.port()) + "\nINFO: Proxy source: " + source +
               "\nTest download -> success\n";
    }

    static std::string manual_settings(const PROXY_SERVER& gate)
    {
        return gnome_proxy_script(gate.host(), gate.port());
    }
};

}

TEST_F(HostDesktop, HasItsManualProxyUsed)
{
    const PROXY_SERVER gate(PROXY_ENGINE::squid);
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    run_in_session(manual_settings(gate), {"--test-download"});
    EXPECT_EQ(output, tested_through(gate, "the desktop's settings")) << errors;
    EXPECT_TRUE(gate.wait_for_access("GET " + server.url("/test.txt"), long_enough));
}

TEST_F(HostDesktop, HasItsAutomaticConfigurationUsed)
{
    if (::access("/usr/lib/x86_64-linux-gnu/libproxy/0.4.18/modules/pacrunner_webkit.so", R_OK) !=
        0)
        GTEST_SKIP() << "libproxy1-plugin-webkit is missing";
    const PROXY_SERVER gate(PROXY_ENGINE::squid);
    server.serve("/desktop.pac", "function FindProxyForURL(url, host) { return \"PROXY " +
                                     gate.address() + "\"; }");
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    run_in_session("gsettings set org.gnome.system.proxy ignore-hosts \"['other.example']\"\n"
                   "gsettings set org.gnome.system.proxy autoconfig-url " +
                       server.url("/desktop.pac") +
                       "\n"
                       "gsettings set org.gnome.system.proxy mode auto",
                   {"--test-download"});
    EXPECT_EQ(output, tested_through(gate, "the desktop's settings")) << errors;
}

TEST_F(HostDesktop, IsOverruledByTheEnvironment)
{
    const PROXY_SERVER gate(PROXY_ENGINE::squid);
    const PROXY_SERVER other(PROXY_ENGINE::squid);
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    environment["ALL_PROXY"] = gate.address();
    run_in_session(manual_settings(other), {"--test-download"});
    EXPECT_EQ(output, tested_through(gate, "ALL_PROXY")) << errors;
    environment.erase("ALL_PROXY");
    environment["no_proxy"] = "*";
    run_in_session(manual_settings(other), {"--test-download"});
    EXPECT_EQ(output, "Testing internet connection ... \nINFO: Proxy server: , port:\n"
                      "INFO: No proxy: excluded by no_proxy\n"
                      "Test download -> success\n")
        << errors;
}

TEST_F(HostDesktop, IsNotNeeded)
{
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    for (const char* modules : {"", "/nonexistent"})
    {
        environment["GIO_MODULE_DIR"] = modules;
        run({"--test-download"});
        EXPECT_EQ(output, "Testing internet connection ... \nINFO: Proxy server: , port:\n"
                          "Test download -> success\n")
            << errors;
    }
}

TEST_F(HostDesktop, MayBeKde)
{
    for (const char* part : {"/usr/lib/x86_64-linux-gnu/libproxy/0.4.18/modules/config_kde.so",
                             "/usr/bin/kreadconfig5"})
        if (::access(part, R_OK) != 0)
            GTEST_SKIP() << part << " is missing";
    const PROXY_SERVER gate(PROXY_ENGINE::squid);
    environment["XDG_CURRENT_DESKTOP"] = "KDE";
    environment["KDE_FULL_SESSION"] = "true";
    std::filesystem::create_directories(dir / "home/.config");
    write_file(dir / "home/.config/kioslaverc", "[Proxy Settings]\nProxyType=1\nhttpProxy=http://" +
                                                    gate.host() + " " +
                                                    std::to_string(gate.port()) + "\n");
    run_in_session(":", {"--test-download"});
    EXPECT_EQ(output, tested_through(gate, "the desktop's settings")) << errors;
}
