#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/harness/silent_name_server.h"
#include "tests/harness/socks_server.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/unanswering_port.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/host_fixture.h"
#include "tests/integration/inside_namespace.h"

#include <csignal>
#include <optional>

namespace
{

constexpr const char* origin_address = "10.98.0.1";
constexpr int origin_port = 8088;

std::string origin(const std::string& path)
{
    return std::string("http://") + origin_address + ":" + std::to_string(origin_port) + path;
}

/// A corporate network: only the proxies can reach the origin, and only the names that the test
/// defines are resolved.
class HostDiscovery : private INSIDE_NAMESPACE, public HostTest
{
protected:
    void SetUp() override
    {
        if (!obstacle.empty())
            GTEST_SKIP() << obstacle;
        network->add_guarded_address(origin_address, origin_port);
        network->set_resolver("search lab.corp.example.test\n");
        builder.download_url(origin("")).test_file(origin(""));
        builder.component("one").pattern_content(3000, 1);
        manifest = builder.write().string();
        NGINX_OPTIONS options{dir / "release"};
        options.also_listen = {std::string(origin_address) + ":" + std::to_string(origin_port)};
        origin_server.emplace(options);
        environment["VINST_NO_PROXY_DISCOVERY"] = "";
        dir.make_dir("wpad");
    }

    /// Sets the names that resolve to the server of automatic-configuration files.
    void name_wpad(const std::string& names) { network->set_hosts("127.0.0.1 " + names + "\n"); }

    void serve_script(const std::string& script, const std::string& name = "wpad.dat")
    {
        write_file(dir / "wpad" / name, script);
        if (wpad_server)
            return;
        NGINX_OPTIONS options{dir / "wpad"};
        options.also_listen = {"127.0.0.1:80"};
        wpad_server.emplace(options);
    }

    void serve_directive(const std::string& directive)
    {
        serve_script("function FindProxyForURL(url, host) {\n"
                     "  if (isPlainHostName(host)) return 'DIRECT';\n"
                     "  return '" +
                     directive + "';\n}\n");
    }

    void write_preferences(const std::string& lines)
    {
        write_file(dir / "home/.mozilla/firefox/abc.default/prefs.js", "// Mozilla\n" + lines);
    }

    static std::string pref(const std::string& name, const std::string& value)
    {
        return "user_pref(\"network.proxy." + name + "\", " + value + ");\n";
    }

    void test_download(const ARGUMENTS& more = {})
    {
        ARGUMENTS arguments{"--test-download", "--debug"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        run(arguments);
    }

    /// A complete run, because a connection test that succeeds leaves no log.
    void run_with_log(const ARGUMENTS& more = {})
    {
        ARGUMENTS arguments = run_arguments({"--debug"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        run(arguments);
    }

    /// The log of a connection test that failed.
    std::string test_log() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(dir / "tmp"))
            if (entry.is_regular_file())
                return read_file(entry.path());
        return {};
    }

    std::string attempt(const std::string& host, const std::string& port,
                        const std::string& source = "") const
    {
        return "Testing internet connection ... \nINFO: Proxy server: " + host + ", port:" + port +
               "\n" + (source.empty() ? "" : "INFO: Proxy source: " + source + "\n");
    }

    void expect_found(const std::string& host, int port, const std::string& source)
    {
        EXPECT_EQ(output, attempt("", "") + attempt(host, std::to_string(port), source) +
                              "Test download -> success\n");
    }

    void expect_start(const std::string& expected) const
    {
        EXPECT_EQ(output.substr(0, expected.size()), expected);
        EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    }

    void expect_used_by_run(const std::string& host, int port, const std::string& source) const
    {
        expect_start(attempt("", "") + attempt(host, std::to_string(port), source) +
                     "Test download -> success\n");
    }

    std::string preference_file() const
    {
        return "Firefox's preferences, " +
               (dir / "home/.mozilla/firefox/abc.default/prefs.js").string();
    }

    void expect_not_found()
    {
        EXPECT_EQ(output.substr(0, output.find("Details:")),
                  attempt("", "") + attempt("", "") +
                      "Internet connection cannot be established. If you are behind a firewall, "
                      "enter the proxy settings and try again.\n");
    }

    std::optional<NGINX_SERVER> origin_server;
    std::optional<NGINX_SERVER> wpad_server;
};

bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

}

TEST_F(HostDiscovery, FindsNothingWithoutAProxy)
{
    test_download();
    expect_not_found();
    EXPECT_TRUE(holds(test_log(), "[info] No proxy found\n"));
}

TEST_F(HostDiscovery, DownloadsACompleteReleaseThroughTheNetworksProxy)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_directive("SOCKS s:1; PROXY " + proxy.address() + "; DIRECT");
    run(run_arguments({"--debug"}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds("Download successful\n")) << output << errors;
    EXPECT_EQ(read_file(dir / "dl/one.run"), read_file(builder.file("one").path));
    EXPECT_TRUE(holds(log(), "[debug] autoproxy for url: http://wpad/wpad.dat\n"));
    EXPECT_TRUE(holds(
        log(), "[info] autoproxy server: 127.0.0.1 port: " + std::to_string(proxy.port()) + "\n"));
    EXPECT_TRUE(holds(log(), "[info] Proxy detected by WPAD\n"));
    EXPECT_TRUE(proxy.wait_for_access("GET " + origin("/one.run"), long_enough));
}

namespace
{

class WpadCandidate : public HostDiscovery, public ::testing::WithParamInterface<const char*>
{
};

}

TEST_P(WpadCandidate, IsQueried)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad(GetParam());
    serve_directive("PROXY " + proxy.address());
    run_with_log();
    expect_used_by_run("127.0.0.1", proxy.port(),
                       std::string("WPAD, http://") + GetParam() + "/wpad.dat");
    EXPECT_TRUE(
        holds(log(), std::string("autoproxy for url: http://") + GetParam() + "/wpad.dat\n"));
}

INSTANTIATE_TEST_SUITE_P(Names, WpadCandidate,
                         ::testing::Values("wpad", "wpad.example.test",
                                           "wpad.lab.corp.example.test", "wpad.test"));

TEST_F(HostDiscovery, QueriesTheCandidatesInOrder)
{
    test_download();
    const std::string text = test_log();
    std::size_t at = 0;
    for (const char* name :
         {"wpad", "wpad.example.test", "wpad.lab.corp.example.test", "wpad.test"})
    {
        const std::size_t next =
            text.find(std::string("autoproxy for url: http://") + name + "/wpad.dat\n", at);
        ASSERT_NE(next, std::string::npos) << name;
        at = next;
    }
    EXPECT_NE(text.find("Get proxy settings from firefox ...", at), std::string::npos);
}

TEST_F(HostDiscovery, ContinuesAfterAFileThatNamesNoProxy)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_directive("DIRECT");
    write_preferences(pref("type", "1") + pref("http", "\"127.0.0.1\"") +
                      pref("http_port", std::to_string(proxy.port())));
    run_with_log();
    expect_used_by_run("127.0.0.1", proxy.port(), preference_file());
    EXPECT_TRUE(holds(log(), "[info] Proxy detected by the browser's preferences\n"));
}

TEST_F(HostDiscovery, PrintsAndLogsNoControlCharactersOfAScript)
{
    name_wpad("wpad");
    const std::string hosts[] = {"ev\u202eil\u009b31m\x1b[31m.invalid", "a\u2067\u061c.invalid"};
    for (const std::string& host : hosts)
        for (const std::string& script :
             {"function FindProxyForURL(url, host) { alert('" + host + "'); return 'PROXY " + host +
                  ":8080'; }",
              "PROXY " + host + ":8080", "function ( 'PROXY " + host + ":8080'"})
        {
            serve_script(script);
            std::filesystem::remove_all(dir / "tmp");
            dir.make_dir("tmp");
            test_download();
            expect_not_found();
            const std::string said = output + errors + test_log();
            EXPECT_TRUE(holds(said, "autoproxy for url: http://wpad/wpad.dat\n"));
            for (const char* part : {"\u202e", "\u009b", "\x1b", "\u2067", "\u061c"})
                EXPECT_FALSE(holds(said, part)) << script << '\n' << said;
        }
}

TEST_F(HostDiscovery, FindsAProxyAlthoughTheNameServerIsSilent)
{
    const SILENT_NAME_SERVER name_server;
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_script("function FindProxyForURL(url, host) { return isInNet(dnsResolve('outside.example'"
                 "), '10.0.0.0', '255.0.0.0') ? 'DIRECT' : 'PROXY " +
                 proxy.address() + "'; }");
    run_with_log();
    expect_used_by_run("127.0.0.1", proxy.port(), "WPAD, http://wpad/wpad.dat");
    EXPECT_TRUE(
        holds(log(), "autoproxy script: No answer within 1 s for the name outside.example\n"));
}

TEST_F(HostDiscovery, ReportsWithoutDebugThatAScriptCannotBeParsed)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_script(
        "function FindProxyForURL(url, host)\n{\n  try { x(); } catch { }\n  return 'PROXY " +
        proxy.address() + "';\n}\n");
    run(run_arguments());
    expect_used_by_run("127.0.0.1", proxy.port(), "WPAD, http://wpad/wpad.dat");
    EXPECT_TRUE(holds(log(), "[info] autoproxy script: The script can't be parsed: line 3: "
                             "SyntaxError: "));
    EXPECT_TRUE(holds(log(), "[info] autoproxy script: The first proxy directive in its text is "
                             "used: PROXY " +
                                 proxy.address() + "\n"));
}

TEST_F(HostDiscovery, ContinuesAfterAnEndlessScript)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_script("while (true) {}");
    write_preferences(pref("type", "1") + pref("http", "\"127.0.0.1\"") +
                      pref("http_port", std::to_string(proxy.port())));
    run_with_log();
    expect_used_by_run("127.0.0.1", proxy.port(), preference_file());
    // On a busy machine it reaches its time limit before its limit of processor time.
    EXPECT_TRUE(holds(log(), "No proxy from the autoproxy file: it exceeded its limits") ||
                holds(log(), "No proxy from the autoproxy file: it takes too long"));
}

TEST_F(HostDiscovery, UsesTheSocksProxyOfTheBrowser)
{
    const SOCKS_SERVER proxy;
    for (const char* version : {"4", "5"})
    {
        write_preferences(pref("type", "1") + pref("socks", "\"https://127.0.0.1\"") +
                          pref("socks_port", std::to_string(proxy.port())) +
                          pref("socks_version", version));
        test_download();
        expect_found(std::string("socks") + version + "://127.0.0.1", proxy.port(),
                     preference_file());
    }
    EXPECT_EQ(proxy.served_connections(), 2U);
}

TEST_F(HostDiscovery, FollowsTheBrowsersAutomaticConfiguration)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    serve_script("function FindProxyForURL() { return 'PROXY " + proxy.address() + "'; }",
                 "proxy.pac");
    write_preferences(pref("autoconfig_url", "\"http://127.0.0.1/proxy.pac\"") + pref("type", "2"));
    run_with_log();
    expect_used_by_run("127.0.0.1", proxy.port(),
                       "Firefox's automatic configuration, http://127.0.0.1/proxy.pac");
    EXPECT_TRUE(holds(log(), "[info] Proxy detected by the browser's auto-configuration\n"));
}

TEST_F(HostDiscovery, UsesNoProxyOfABrowserThatHasNone)
{
    for (const char* type : {"0", "4", "5"})
    {
        write_preferences(pref("type", type) + pref("http", "\"127.0.0.1\"") +
                          pref("http_port", "1") +
                          pref("autoconfig_url", "\"http://127.0.0.1/proxy.pac\""));
        test_download();
        expect_not_found();
    }
}

TEST_F(HostDiscovery, SendsTheUsersCredentialsToTheDetectedProxy)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid, "ada", "pass");
    name_wpad("wpad");
    serve_directive("PROXY " + proxy.address());
    run_with_log({"--proxy-user", "ada:pass"});
    expect_used_by_run("127.0.0.1", proxy.port(), "WPAD, http://wpad/wpad.dat");
    EXPECT_FALSE(holds(log(), "ada:pass"));
}

TEST_F(HostDiscovery, ReportsThatTheProxyRefuses)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid, "ada", "pass");
    name_wpad("wpad");
    serve_directive("PROXY " + proxy.address());
    test_download();
    const std::string through =
        attempt("127.0.0.1", std::to_string(proxy.port()), "WPAD, http://wpad/wpad.dat");
    EXPECT_EQ(output.substr(0, output.find("Details:")),
              attempt("", "") + through + through +
                  "Internet connection cannot be established. Verify your proxy settings.\n");
    EXPECT_TRUE(output_holds("Httpcode: 407")) << output;
}

TEST_F(HostDiscovery, TriesADeadProxyTwiceAndReportsIt)
{
    name_wpad("wpad");
    serve_directive("PROXY 127.0.0.1:9");
    test_download();
    EXPECT_EQ(output.substr(0, output.find("Details:")),
              attempt("", "") + attempt("127.0.0.1", "9", "WPAD, http://wpad/wpad.dat") +
                  attempt("127.0.0.1", "9", "WPAD, http://wpad/wpad.dat") +
                  "Internet connection cannot be established. Verify your proxy settings.\n");
}

TEST_F(HostDiscovery, LimitsTheWaitForAnUnresponsiveServer)
{
    const UNANSWERING_PORT wpad(80);
    name_wpad("wpad wpad.example.test wpad.lab.corp.example.test wpad.test");
    const STOPWATCH watch;
    test_download();
    const MEASURED_TIME taken = watch.elapsed();
    expect_not_found();
    EXPECT_GE(taken.wall, 11s); // 3 s for each of four
    EXPECT_TRUE(taken.within(16s));
}

TEST_F(HostDiscovery, EndsImmediatelyWhenStopped)
{
    const UNANSWERING_PORT wpad(80);
    name_wpad("wpad");
    CHILD_PROCESS child(setup({"--test-download"}));
    ASSERT_TRUE(child.wait_for_output("INFO: Proxy server: , port:", long_enough));
    ASSERT_TRUE(wait_until([&wpad] { return wpad.has_caller(); }));
    const STOPWATCH since_signal;
    child.send_signal(SIGINT);
    ASSERT_TRUE(child.wait(long_enough));
    EXPECT_TRUE(since_signal.within(1s));
}

TEST_F(HostDiscovery, IsSkippedIfTheSystemNamesAProxy)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    environment["http_proxy"] = "http://" + proxy.address();
    run_with_log();
    expect_start(attempt("127.0.0.1", std::to_string(proxy.port()), "http_proxy") +
                 "Test download -> success\n");
    EXPECT_FALSE(holds(log(), "wpad"));
}

TEST_F(HostDiscovery, IsSkippedIfAnySpellingOfTheVariablesNamesAProxy)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    for (const char* name : {"ALL_PROXY", "all_proxy", "HTTP_PROXY", "http_proxy"})
    {
        for (const char* other : {"ALL_PROXY", "all_proxy", "HTTP_PROXY"})
            environment.erase(other);
        environment[name] = proxy.address(); // without a scheme
        run(run_arguments({"--debug"}));
        EXPECT_TRUE(output_holds(attempt("127.0.0.1", std::to_string(proxy.port()), name) +
                                 "Test download -> success\n"))
            << name << output;
        EXPECT_TRUE(output_holds("Download successful\n")) << name << output;
        EXPECT_FALSE(holds(log(), "wpad")) << name;
        remove_tree(dir / "dl");
    }
}

TEST_F(HostDiscovery, FetchesItsFilesDirectlyDespiteTheEnvironment)
{
    const PROXY_SERVER proxy(PROXY_ENGINE::squid);
    name_wpad("wpad");
    serve_directive("PROXY " + proxy.address());
    // No proxy for the origin, and a dead one for everything else.
    environment["ALL_PROXY"] = "http://127.0.0.1:9";
    environment["no_proxy"] = origin_address;
    test_download();
    EXPECT_EQ(output,
              attempt("", "") + "INFO: No proxy: excluded by no_proxy\n" +
                  attempt("127.0.0.1", std::to_string(proxy.port()), "WPAD, http://wpad/wpad.dat") +
                  "Test download -> success\n");
}

TEST_F(HostDiscovery, IsDisabledByTheEnvironment)
{
    name_wpad("wpad");
    serve_directive("PROXY 127.0.0.1:9");
    environment["VINST_NO_PROXY_DISCOVERY"] = "1";
    test_download();
    expect_not_found();
    EXPECT_TRUE(wpad_server->access_log().empty());
}
