#include "tests/harness/network_namespace.h"
#include "tests/harness/silent_name_server.h"
#include "tests/integration/pac_runner_fixture.h"

#include <optional>

namespace
{

/// Entered before the test starts any thread or process.
class PRIVATE_NETWORK
{
protected:
    PRIVATE_NETWORK() : obstacle(NETWORK_NAMESPACE::obstacle())
    {
        if (obstacle.empty())
            network.emplace();
    }

    std::string obstacle;
    std::optional<NETWORK_NAMESPACE> network;
};

class PacNetworkTest : private PRIVATE_NETWORK, public PacRunnerTest
{
protected:
    void SetUp() override
    {
        if (!obstacle.empty())
            GTEST_SKIP() << obstacle;
        longest = long_enough;
    }

    /// This machine: connected to an office and, with a second interface, to a remote network.
    void connect_two_networks()
    {
        network->add_interface("office", "10.1.0.2/24");
        network->add_interface("remote", "10.8.0.2/24");
        network->add_route("default", "office");
        network->add_route("10.50.0.0/16", "remote");
    }

    /// Like PRIVATE_NETWORK::network, for tests.
    NETWORK_NAMESPACE& net() { return *network; }
};

}

TEST_F(PacNetworkTest, GivesUpANameAfterASecond)
{
    SILENT_NAME_SERVER server;
    EXPECT_EQ(run("function FindProxyForURL(url, host) { return isInNet(dnsResolve(host), "
                  "'10.0.0.0', '255.0.0.0') ? 'DIRECT' : 'PROXY p:3128'; }"),
              "PROXY p:3128");
    EXPECT_GE(duration.wall, 900ms);
    EXPECT_TRUE(duration.within(2s));
    EXPECT_TRUE(log_holds("autoproxy script: No answer within 1 s for the name dl.example\n"));
}

TEST_F(PacNetworkTest, LooksUpARepeatedNameOnce)
{
    SILENT_NAME_SERVER server;
    EXPECT_EQ(run("function FindProxyForURL(url, host) { for (var i = 0; i < 100; ++i) if "
                  "(isResolvable(host) || isInNet(host, '10.0.0.0', '255.0.0.0') || "
                  "dnsResolve('DL.Example')) return 'DIRECT'; return 'PROXY p:3128'; }"),
              "PROXY p:3128");
    EXPECT_TRUE(duration.within(2s));
    EXPECT_EQ(server.asked(), std::vector<std::string>(2, "dl.example"));
}

TEST_F(PacNetworkTest, LeavesTimeForTheRestOfTheScript)
{
    SILENT_NAME_SERVER server;
    EXPECT_EQ(run("function FindProxyForURL(url, host) { for (var i = 0; i < 20; ++i) "
                  "if (isResolvable('n' + i + '.example')) return 'DIRECT'; "
                  "return 'PROXY p:3128'; }"),
              "PROXY p:3128");
    EXPECT_TRUE(duration.within(5s));
    EXPECT_TRUE(log_holds("autoproxy script: No time is left to look up n19.example\n"));
}

TEST_F(PacNetworkTest, ResolvesOtherNamesAfterOneThatWasGivenUp)
{
    net().set_hosts("10.20.0.1 known.example\n");
    SILENT_NAME_SERVER server;
    EXPECT_EQ(run(returning("[dnsResolve('lost.example'), dnsResolve('known.example')].join()")),
              ",10.20.0.1");
}

TEST_F(PacNetworkTest, KnowsItsAddressOnTheRouteToTheHost)
{
    connect_two_networks();
    net().set_hosts("10.50.7.7 dl.example\n");
    EXPECT_EQ(run(returning("myIpAddress()")), "10.8.0.2");
    const std::string all = run(returning("myIpAddressEx()"));
    EXPECT_EQ(all.substr(0, 18), "10.8.0.2;10.1.0.2;") << all;
}

TEST_F(PacNetworkTest, KnowsItsAddressOnTheDefaultRoute)
{
    // The first interface is not the one with the default route.
    net().add_interface("first", "10.8.0.2/24");
    net().add_interface("second", "10.1.0.2/24");
    net().add_route("default", "second");
    EXPECT_EQ(run(returning("myIpAddress()")), "10.1.0.2");
    net().set_hosts("127.0.0.1 dl.example\n");
    EXPECT_EQ(run(returning("myIpAddress()")), "10.1.0.2");
}

TEST_F(PacNetworkTest, KnowsTheFirstAddressWithoutARoute)
{
    EXPECT_EQ(run(returning("myIpAddress() + '/' + myIpAddressEx()")), "127.0.0.1/");
    net().add_interface("only", "10.8.0.2/24");
    EXPECT_EQ(run(returning("myIpAddress()")), "10.8.0.2");
}

TEST_F(PacNetworkTest, KnowsTheMachinesTimeZone)
{
    qunsetenv("TZ");
    net().set_time_zone("Europe/Berlin");
    EXPECT_EQ(run(returning("[new Date(0).getHours(), new Date(2026, 6, 1).getTimezoneOffset(), "
                            "new Date(2026, 0, 1).getTimezoneOffset()].join()")),
              "1,-120,-60");
}
