#include "install/vinst/download/vinst_desktop_proxy.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/stopwatch.h"
#include "tests/integration/manager_fixture.h"

using namespace std::chrono_literals;

namespace
{

/// Runs shell scripts in place of the helper.
class DesktopProxyTest : public ManagerTest
{
protected:
    std::string ask(const std::string& script, std::chrono::milliseconds at_most = 60s)
    {
        write_file(dir / "helper", "#!/bin/sh\n" + script, 0700);
        return ask_program((dir / "helper").string(), at_most);
    }

    std::string ask_program(const std::string& path, std::chrono::milliseconds at_most = 60s)
    {
        return ask_desktop_for_proxy(
                   QString::fromStdString(path), "http://dl.example/", [this] { return goes_on; },
                   at_most)
            .address();
    }

    bool goes_on = true;
};

}

TEST_F(DesktopProxyTest, IsTheAnswerOfTheHelperForTheAddress)
{
    EXPECT_EQ(ask("read -r url; [ \"$url\" = http://dl.example/ ] && echo http://gate:3128\n"),
              "gate:3128");
    EXPECT_EQ(ask("echo direct://\n"), "");
    EXPECT_EQ(ask("exec 0<&-; echo http://gate:3128\n"), "gate:3128");
}

TEST_F(DesktopProxyTest, IsNoneIfTheHelperFails)
{
    EXPECT_EQ(ask("echo http://gate:3128; echo 'no module' >&2; exit 1\n"), "");
    EXPECT_TRUE(log_holds("[debug] No proxy from the desktop's settings: no module\n"));
    EXPECT_EQ(ask("echo http://gate:3128; kill -SEGV $$\n"), "");
    EXPECT_EQ(ask_program("/nonexistent"), "");
    EXPECT_TRUE(
        log_holds("[debug] No proxy from the desktop's settings: /nonexistent can't be started: "));
}

TEST_F(DesktopProxyTest, IsAskedForWithoutTheVariablesOfProxies)
{
    for (const char* name : {"HTTP_PROXY", "https_proxy", "no_proxy"})
        qputenv(name, "http://other:1");
    EXPECT_EQ(ask("env | grep -qi _proxy= && exit; echo http://gate:3128\n"), "gate:3128");
    for (const char* name : {"HTTP_PROXY", "https_proxy", "no_proxy"})
        qunsetenv(name);
}

TEST_F(DesktopProxyTest, HasAnAnswerOfALimitedLength)
{
    const STOPWATCH watch;
    EXPECT_EQ(ask("exec cat /dev/zero\n"), "");
    EXPECT_TRUE(watch.within(2s));
    EXPECT_TRUE(
        log_holds("[debug] No proxy from the desktop's settings: its answer is too long\n"));
}

TEST_F(DesktopProxyTest, IsNotWaitedForLongerThanItsLimit)
{
    const STOPWATCH watch;
    EXPECT_EQ(ask("exec sleep 100\n", 300ms), "");
    EXPECT_TRUE(watch.within(2s));
    EXPECT_TRUE(log_holds("[debug] No proxy from the desktop's settings: it takes too long\n"));
    EXPECT_EQ(longest_desktop_query, 3s);
}

TEST_F(DesktopProxyTest, IsNotWaitedForAfterAStop)
{
    goes_on = false;
    const STOPWATCH watch;
    EXPECT_EQ(ask("exec sleep 100\n"), "");
    EXPECT_TRUE(watch.within(2s));
}
