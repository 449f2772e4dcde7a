#include "install/vinst/download/vinst_connection_test.h"

#include "install/vinst/console/vinst_plain_view.h"
#include "tests/integration/manager_fixture.h"

#include "tests/harness/loopback.h"
#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <gmock/gmock.h>

namespace
{

using namespace std::chrono_literals;

/// Finds the proxy of a test, and counts how often it was asked.
class FIXED_PROXIES final : public VINST_PROXY_SOURCE
{
public:
    CURL_PROXY_INFO get_default_proxy() const override { return by_default; }
    CURL_PROXY_INFO discover() override
    {
        ++asked;
        time_passed += duration;
        return found;
    }

    CURL_PROXY_INFO by_default;
    CURL_PROXY_INFO found;
    int asked = 0;
    std::chrono::milliseconds duration{0};    ///< of a detection, on the test's clock
    std::chrono::milliseconds time_passed{0}; ///< on that clock
};

class ConnectionTest : public ManagerTest
{
protected:
    ConnectionTest()
    {
        limits.now = [this]
        { return VINST_CONNECTION_LIMITS::CLOCK::time_point(proxies.time_passed); };
        builder.component("one");
        VINST_MESSAGES::instance().echo_to_console = true;
    }

    bool test(const VINST_PROXY_SETTINGS& settings)
    {
        if (release == nullptr)
            load();
        VINST_PLAIN_VIEW console;
        VINST_CONNECTION_TEST test(*release, console, proxies, limits);
        printed = printed_by([&] { result = test.run(settings); });
        return result.works;
    }

    std::string route() const
    {
        return release->test_url().mid(release->test_url().lastIndexOf('/')).toStdString();
    }

    FIXED_PROXIES proxies;
    VINST_CONNECTION_LIMITS limits;
    VINST_CONNECTION_RESULT result;
    std::string printed;
};

std::string once(const std::string& host, const std::string& port)
{
    return "Testing internet connection ... \nINFO: Proxy server: " + host + ", port:" + port +
           "\n";
}

}

TEST_F(ConnectionTest, SucceedsWithTheRightFile)
{
    dir.make_dir("tmp");
    qputenv("TMPDIR", (dir / "tmp").c_str());
    EXPECT_TRUE(test({}));
    EXPECT_EQ(printed, once("", "") + "Test download -> success\n");
    EXPECT_TRUE(log_holds("[info] Proxy setting: default\n"));
    EXPECT_TRUE(log_holds("[info] Testing Internet connection ...\n"));
    EXPECT_TRUE(log_holds("[info]   Proxy Server: , Port:\n"));
    EXPECT_TRUE(log_holds("[debug] test download file path: "));
    EXPECT_EQ(server.request_count(route()), 1U);
    EXPECT_EQ(list_tree(dir / "tmp"), std::vector<std::string>{});
    qunsetenv("TMPDIR");
}

TEST_F(ConnectionTest, TriesTwiceAndReportsTheDetails)
{
    load();
    server.set_faults(route(), {FAULT::status(404)});
    EXPECT_FALSE(test({}));
    EXPECT_EQ(server.request_count(route()), 2U);
    EXPECT_EQ(
        printed,
        once("", "") + once("", "") +
            "Internet connection cannot be established. If you are behind a firewall, enter "
            "the proxy settings and try again.\nDetails:\nTest download failed with error: The "
            "requested URL returned error: 404, Httpcode: 404, Curlcode: 22\n");
    EXPECT_TRUE(log_holds("[debug] Test download -> fail\n"));
    EXPECT_EQ(result.error.substr(0, 47), "Internet connection cannot be established. If y");
    EXPECT_FALSE(release->proxy_info.has_host());
}

TEST_F(ConnectionTest, SucceedsAtTheSecondTry)
{
    load();
    server.set_faults(route(), {FAULT::cut_after(1).times(1)});
    EXPECT_TRUE(test({}));
    EXPECT_EQ(server.request_count(route()), 2U);
}

TEST_F(ConnectionTest, FailsWithAnotherFile)
{
    load();
    server.set_faults(route(), {FAULT::other_body("a captive portal's page")});
    EXPECT_FALSE(test({}));
    EXPECT_TRUE(log_holds("[info] Download successful, but md5sum doesn't match\n"));
    EXPECT_NE(printed.find("Httpcode: 200, Curlcode: 0\n"), std::string::npos);
}

TEST_F(ConnectionTest, ExplainsAnswersThatAreNotTheTestFile)
{
    load();
    server.set_faults(route(), {FAULT::redirect(302, "/login")});
    server.serve("/login", "<html>Welcome</html>");
    EXPECT_FALSE(test({}));
    EXPECT_NE(printed.find("Httpcode: 200, Curlcode: 0\nThe answer is not the test file. If this "
                           "network requires a login (captive portal), log in with a web browser "
                           "and try again.\n"),
              std::string::npos)
        << printed;
    EXPECT_NE(result.error.find("captive portal"), std::string::npos);
}

TEST_F(ConnectionTest, ExplainsATlsFailure)
{
    const TEST_AUTHORITY authority;
    dir.write("www/test.txt", "connection test\n");
    NGINX_OPTIONS options;
    options.root = dir / "www";
    options.certificate = authority.untrusted();
    const NGINX_SERVER origin(options);
    builder.test_file(origin.url(""));
    EXPECT_FALSE(test({}));
    EXPECT_NE(printed.find(", Httpcode: -1, Curlcode: 60\nThe TLS connection to 127.0.0.1:" +
                           std::to_string(origin.port()) + " failed: SSL"),
              std::string::npos)
        << printed;
    EXPECT_NE(printed.find("set SSL_CERT_FILE to a file with its certificate.\n"),
              std::string::npos);
}

TEST_F(ConnectionTest, ExplainsAProxyThatRequiresAPassword)
{
    const PROXY_SERVER gate(PROXY_ENGINE::squid, "ada", "s3cret");
    const std::string port = std::to_string(gate.port());
    const std::string explanation = "\nThe proxy requires a valid user name and password (HTTP "
                                    "status 407; it offers Basic).\n";
    EXPECT_FALSE(test({gate.host(), port, "ada", "wrong", false}));
    EXPECT_NE(printed.find(", Httpcode: 407, Curlcode: 22" + explanation), std::string::npos)
        << printed;

    release.reset();
    builder.test_file("https://127.0.0.1:1");
    EXPECT_FALSE(test({gate.host(), port, "ada", "wrong", false}));
    EXPECT_NE(printed.find(", Httpcode: 407, Curlcode: 22" + explanation), std::string::npos)
        << printed;
}

TEST_F(ConnectionTest, FailsOnALibraryErrorBehindA200)
{
    load();
    server.set_faults(route(), {FAULT::claim_length(100'000)});
    EXPECT_FALSE(test({}));
    EXPECT_NE(printed.find(", Httpcode: 200, Curlcode: 18\n"), std::string::npos) << printed;
}

TEST_F(ConnectionTest, StoresTheProxyThatWorked)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy, "ada", "s3cret");
    const std::string port = std::to_string(gate.port());
    EXPECT_TRUE(test({gate.host(), port, "ada", "s3cret", false}));
    EXPECT_EQ(printed, once(gate.host(), port) + "Test download -> success\n");
    EXPECT_TRUE(log_holds("[info] Proxy setting: manual\n"));
    EXPECT_EQ(release->proxy_info.host(), gate.host());
    EXPECT_EQ(release->proxy_info.port(), port);
    EXPECT_EQ(release->proxy_info.password(), "s3cret");
    EXPECT_FALSE(log_holds("s3cret"));
}

TEST_F(ConnectionTest, NamesTheProxyOfTheEnvironment)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy);
    const std::string port = std::to_string(gate.port());
    for (const char* name : {"http_proxy", "HTTP_PROXY", "ALL_PROXY"})
    {
        qputenv(name, gate.address().c_str());
        EXPECT_TRUE(test({}));
        qunsetenv(name);
        EXPECT_EQ(printed, once(gate.host(), port) + "INFO: Proxy source: " + name +
                               "\nTest download -> success\n");
        EXPECT_TRUE(log_holds("[info]   Proxy Server: " + gate.host() + ", Port:" + port + "\n"));
        EXPECT_TRUE(log_holds(std::string("[info]   Proxy Source: ") + name + "\n"));
        EXPECT_TRUE(
            log_holds("[info] Proxy of the downloads: " + gate.address() + " (" + name + ")\n"));
    }
}

TEST_F(ConnectionTest, NamesNoProxyThatIsBypassed)
{
    qputenv("http_proxy", "http://127.0.0.1:1");
    qputenv("no_proxy", "127.0.0.1");
    EXPECT_TRUE(test({}));
    qunsetenv("http_proxy");
    qunsetenv("no_proxy");
    EXPECT_EQ(printed, once("", "") + "Test download -> success\n");
    EXPECT_TRUE(log_holds("[info]   No proxy: excluded by no_proxy\n"));
    EXPECT_TRUE(log_holds("[info] Proxy of the downloads: none\n"));
}

TEST_F(ConnectionTest, UsesANamedOrDetectedProxyWhateverIsExcluded)
{
    const PROXY_SERVER gate(PROXY_ENGINE::squid);
    const std::string port = std::to_string(gate.port());
    qputenv("no_proxy", "*");
    EXPECT_TRUE(test({gate.host(), port, "", "", false, "--proxy"}));
    EXPECT_EQ(printed, once(gate.host(), port) + "Test download -> success\n");
    EXPECT_TRUE(log_holds("[info]   Proxy Source: --proxy\n"));
    EXPECT_EQ(release->proxy_source(), "--proxy");
    EXPECT_TRUE(gate.wait_for_access("GET " + server.url(route()), long_enough));

    server.set_faults(route(), {FAULT::status(403).times(1)});
    proxies.found = {gate.host(), port, "", ""};
    proxies.found.set_source("WPAD, http://wpad/wpad.dat");
    EXPECT_TRUE(test({}));
    qunsetenv("no_proxy");
    EXPECT_EQ(printed, once("", "") + once(gate.host(), port) +
                           "INFO: Proxy source: WPAD, http://wpad/wpad.dat\n"
                           "Test download -> success\n");
    EXPECT_EQ(server.request_count(route()), 3U);
}

TEST_F(ConnectionTest, AddsCredentialsToTheProxyOfTheEnvironment)
{
    const PROXY_SERVER gate(SQUID_LOGIN{"ada", "s3cret", true, false, true, true});
    for (const std::string user : {"", "bob:wrong@"})
    {
        qputenv("ALL_PROXY", ("http://" + user + gate.address()).c_str());
        EXPECT_TRUE(test({"", "", "ada", "s3cret", true}));
        qunsetenv("ALL_PROXY");
    }
}

TEST_F(ConnectionTest, KeepsTheReleasesProxyIfTheTestFails)
{
    load();
    release->proxy_info = {"kept", "1", "", ""};
    const std::string port = std::to_string(free_port());
    EXPECT_FALSE(test({"127.0.0.1", port, "", "", false}));
    EXPECT_EQ(release->proxy_info.host(), "kept");
    EXPECT_NE(
        printed.find("Internet connection cannot be established. Verify your proxy settings.\n"
                     "Details:\nTest download failed with error: "),
        std::string::npos);
    EXPECT_NE(printed.find(", Httpcode: -1, Curlcode: 7\n"), std::string::npos);
}

TEST_F(ConnectionTest, ContinuesWithADetectedProxy)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy, "ada", "s3cret");
    const std::string port = std::to_string(gate.port());
    load();
    server.set_faults(route(), {FAULT::status(403).times(1)});
    proxies.found = {gate.host(), port, "", ""};
    EXPECT_TRUE(test({"", "", "ada", "s3cret", true}));
    EXPECT_EQ(proxies.asked, 1);
    EXPECT_EQ(printed, once("", "") + once(gate.host(), port) + "Test download -> success\n");
    EXPECT_EQ(release->proxy_info.username(), "ada");
    EXPECT_EQ(result.proxy.host(), gate.host());
}

TEST_F(ConnectionTest, TriesADetectedProxyTwiceAndDetectsNoOther)
{
    load();
    server.set_faults(route(), {FAULT::status(403)});
    const std::string port = std::to_string(free_port());
    proxies.found = {"127.0.0.1", port, "", ""};
    EXPECT_FALSE(test({}));
    EXPECT_EQ(proxies.asked, 1);
    EXPECT_EQ(server.request_count(route()), 1U);
    EXPECT_EQ(
        printed.find(once("", "") + once("127.0.0.1", port) + once("127.0.0.1", port) +
                     "Internet connection cannot be established. Verify your proxy settings.\n"),
        0U)
        << printed;
    EXPECT_EQ(result.proxy.port(), port);
}

TEST_F(ConnectionTest, DetectsNoProxyIfOneWasNamed)
{
    load();
    EXPECT_FALSE(test({"127.0.0.1", std::to_string(free_port()), "", "", false}));
    EXPECT_EQ(proxies.asked, 0);
}

TEST_F(ConnectionTest, GivesUpOnASilentServerWithin45Seconds)
{
    load();
    limits.silence = 1s;
    server.set_faults(route(), {FAULT::stall_before_headers()});
    const STOPWATCH watch;
    EXPECT_FALSE(test({}));
    EXPECT_TRUE(watch.within(5s));
    EXPECT_NE(printed.find("error: No data received for 1 seconds, Httpcode: -1, Curlcode: 28\n"),
              std::string::npos)
        << printed;
    EXPECT_LE(2 * VINST_CONNECTION_LIMITS().silence, 42s);
}

TEST_F(ConnectionTest, GivesUpOnASlowServerWithin45Seconds)
{
    load();
    limits.silence = 1s;
    // 20 kB/s, which is too much for a silent server.
    server.serve(route(), SERVED_BODY::of_pattern(1'000'000), {FAULT::trickle(2000, 100ms)});
    const STOPWATCH watch;
    EXPECT_FALSE(test({}));
    EXPECT_TRUE(watch.within(6s));
    EXPECT_NE(printed.find("error: The transfer did not end within 1 seconds, Httpcode: 200, "
                           "Curlcode: 28\n"),
              std::string::npos)
        << printed;
    EXPECT_LE(2 * VINST_CONNECTION_LIMITS().silence * 11 / 10, 44s);
}

TEST_F(ConnectionTest, MakesNoOtherAttemptIfTheDetectionOfAProxyTookTheTime)
{
    EXPECT_EQ(limits.total, 45s);
    load();
    server.set_faults(route(), {FAULT::status(503)});
    proxies.duration = 45s;
    EXPECT_FALSE(test({}));
    EXPECT_EQ(proxies.asked, 1);
    EXPECT_EQ(server.request_count(route()), 1U);
    EXPECT_NE(printed.find(", Httpcode: 503, Curlcode: 22\n"), std::string::npos) << printed;
}

TEST_F(ConnectionTest, EndsTheLastAttemptWithTheTimeOfTheTest)
{
    load();
    server.set_faults(route(), {FAULT::status(503).times(1), FAULT::stall_before_headers()});
    limits.total = 10min;
    proxies.duration = 10min - 3s;
    EXPECT_FALSE(test({}));
    EXPECT_EQ(server.request_count(route()), 2U);
    EXPECT_THAT(printed, testing::HasSubstr("error: No data received for 2 seconds, "));
}

TEST_F(ConnectionTest, LeavesADetectedProxyTimeToAnswer)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy);
    load();
    server.set_faults(route(), {FAULT::status(503).times(1)});
    proxies.found = {gate.host(), std::to_string(gate.port()), "", ""};
    proxies.duration = limits.total;
    EXPECT_TRUE(test({})) << printed;
}

TEST_F(ConnectionTest, ReadsAtMostOneMebibyte)
{
    load();
    for (const std::vector<FAULT>& faults : {std::vector<FAULT>{}, {FAULT::chunked()}})
    {
        server.serve(route(), SERVED_BODY::of_pattern(5'000'000'000), faults);
        EXPECT_FALSE(test({}));
        EXPECT_NE(printed.find(faults.empty() ? "The server offers 5000000000 bytes, but at most "
                                                "1048576 are read, Httpcode: 200, Curlcode: 63\n"
                                              : "The server sends more than the 1048576 bytes that "
                                                "are read, Httpcode: 200, Curlcode: 63\n"),
                  std::string::npos)
            << printed;
        EXPECT_LT(server.body_bytes(route()), 100'000'000U);
    }
}

TEST_F(ConnectionTest, NeedsATemporaryDirectory)
{
    load();
    qputenv("TMPDIR", "/proc");
    EXPECT_FALSE(test({}));
    qunsetenv("TMPDIR");
    EXPECT_EQ(printed, "Error: /proc/ is not writable\n"
                       "Your temp directory is not writable, cannot perform test download.\n");
    EXPECT_EQ(server.request_count(route()), 0U);
}

TEST_F(ConnectionTest, RepeatsNoRefusedLogin)
{
    const PROXY_SERVER gate(PROXY_ENGINE::squid, "ada", "s3cret");
    load();
    const std::string port = std::to_string(gate.port());
    EXPECT_FALSE(test({gate.host(), port, "ada", "wrong", false}));
    EXPECT_EQ(printed.find(once(gate.host(), port) + "Internet connection cannot be established."),
              0U)
        << printed;
}

TEST_F(ConnectionTest, DoesNotBlameTheConnectionForAFullDisk)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(64 * 1024);
    const std::string temp = disk.path().string();
    builder.test_file(server.url(""), "test.txt", std::string(200'000, 'x'));
    load();
    qputenv("TMPDIR", temp.c_str());
    EXPECT_FALSE(test({}));
    qunsetenv("TMPDIR");
    const std::string start = once("", "") +
                              "Your temp directory is not writable, cannot perform test download.\n"
                              "Details:\nTest download failed with error: Cannot write " +
                              temp + "/";
    EXPECT_EQ(printed.substr(0, start.size()), start);
    EXPECT_NE(printed.find("/test.txt: No space left on device, Httpcode: 200, Curlcode: 23\n"),
              std::string::npos)
        << printed;
    EXPECT_EQ(server.request_count(route()), 1U);
    EXPECT_EQ(proxies.asked, 0);
}
