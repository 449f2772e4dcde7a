#include "tests/integration/downloader_fixture.h"

#include "support/curl/curl_logger.h"
#include "support/curl/curl_rate_limit.h"
#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/harness/test_authority.h"
#include "tests/harness/wait_until.h"

TEST_F(Downloader, ShowsNoPasswordInErrorsAndTrace)
{
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::debug_level);
    ASSERT_TRUE(logger.open());
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy, "ada", "s3cret");
    server.serve("/f", body);
    CURL_PROGRESS_DATA record;
    CURL_DOWNLOADER downloader("test", {gate.host(), std::to_string(gate.port()), "ada", "s3cret"},
                               true, 10);
    downloader.set_logger(&logger);
    EXPECT_EQ(downloader.download_one_file(server.url("/f"), path(), &record), 200);
    const std::string log = dir.read("log");
    EXPECT_NE(log.find("Authorization: ***"), std::string::npos) << log;
    EXPECT_EQ(log.find("s3cret"), std::string::npos);
    EXPECT_EQ(log.find("YWRhOnMzY3JldA"), std::string::npos);
}

namespace
{

class ThroughAProxy : public Downloader, public ::testing::WithParamInterface<PROXY_ENGINE>
{
};

}

TEST_P(ThroughAProxy, HidesTheProxyCredentialsFromTheOrigin)
{
    const PROXY_SERVER gate(GetParam(), "ada", "s3cret");
    server.serve("/f", body);
    proxy = {gate.host(), std::to_string(gate.port()), "ada", "s3cret"};
    EXPECT_EQ(fetch(), 200);
    expect_success(body);
    for (const auto& request : server.requests("/f"))
    {
        EXPECT_EQ(request.header("Authorization"), "");
        EXPECT_EQ(request.header("Proxy-Authorization"), "");
    }
    std::filesystem::remove(path());
    proxy = {gate.host(), std::to_string(gate.port()), "ada", "wrong"};
    // tinyproxy treats wrong credentials as if the origin had refused them.
    const int refused = GetParam() == PROXY_ENGINE::tinyproxy ? 401 : 407;
    EXPECT_EQ(fetch(), refused);
    expect_failure(22, refused);
    EXPECT_FALSE(exists());
}

TEST_P(ThroughAProxy, ReachesHttpsThroughATunnel)
{
    const TEST_AUTHORITY authority;
    qputenv("SSL_CERT_FILE", authority.ca_file().c_str());
    dir.write("www/f", body);
    NGINX_OPTIONS options;
    options.root = dir / "www";
    options.certificate = authority.server();
    const NGINX_SERVER origin(options);
    const PROXY_SERVER gate(GetParam(), "ada", "s3cret");
    proxy = {gate.host(), std::to_string(gate.port()), "ada", "s3cret"};
    EXPECT_EQ(fetch(origin.url("/f")), 200);
    expect_success(body);
    std::filesystem::remove(path());
    proxy = {gate.host(), std::to_string(gate.port()), "ada", "wrong"};
    EXPECT_EQ(fetch(origin.url("/f")), -1);
    EXPECT_NE(data->curl_code, 0);
    qunsetenv("SSL_CERT_FILE");
}

TEST_F(Downloader, UsesBasicWhenAProxyAlsoOffersNegotiate)
{
    const HTTP_HEADERS offers = {{"Proxy-Authenticate", "Negotiate"},
                                 {"Proxy-Authenticate", "Basic realm=\"a test\""}};
    // The server acts as the proxy and as the origin behind it.
    server.serve("/f", body, {FAULT::status(407, "<html>who are you?</html>", offers).times(1)});
    proxy = {"127.0.0.1", std::to_string(server.port()), "ada", "s3cret"};
    EXPECT_EQ(fetch("http://origin.test/f"), 200);
    expect_success(body);
    ASSERT_EQ(server.request_count("/f"), 2U);
    EXPECT_EQ(server.requests("/f").back().header("Proxy-Authorization"),
              "Basic " + QByteArray("ada:s3cret").toBase64().toStdString());
}

INSTANTIATE_TEST_SUITE_P(Engines, ThroughAProxy,
                         ::testing::Values(PROXY_ENGINE::tinyproxy, PROXY_ENGINE::squid),
                         [](const auto& engine)
                         { return engine.param == PROXY_ENGINE::squid ? "squid" : "tinyproxy"; });

TEST_F(Downloader, UsesTheEnvironmentsProxyByDefault)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy);
    server.serve("/f", body);
    qputenv("http_proxy", ("http://" + gate.address()).c_str());
    EXPECT_EQ(fetch(), 200);
    qunsetenv("http_proxy");
    EXPECT_TRUE(gate.wait_for_access("/f", long_enough));
}

TEST_F(Downloader, TrustsTheConfiguredAuthorities)
{
    const TEST_AUTHORITY authority;
    dir.write("www/f", body);
    NGINX_OPTIONS options;
    options.root = dir / "www";
    options.certificate = authority.server();
    const NGINX_SERVER origin(options);
    fetch(origin.url("/f"));
    expect_failure(60, -1);
    EXPECT_FALSE(exists());
    qputenv("CURL_CA_BUNDLE", authority.ca_file().c_str());
    EXPECT_EQ(fetch(origin.url("/f")), 200);
    expect_success(body);

    std::filesystem::remove(path());
    for (const CERTIFICATE& certificate : {authority.other_host(), authority.untrusted()})
    {
        options.certificate = certificate;
        const NGINX_SERVER impostor(options);
        fetch(impostor.url("/f"));
        expect_failure(60, -1);
    }
    qunsetenv("CURL_CA_BUNDLE");
}

TEST_F(Downloader, RefusesAnyRedirectFromHttpsToHttp)
{
    const TEST_AUTHORITY authority;
    qputenv("SSL_CERT_FILE", authority.ca_file().c_str());
    server.serve("/f", body);
    NGINX_OPTIONS options;
    options.root = dir.path();
    options.certificate = authority.server();
    options.redirects = {{"/down", 302, server.url("/f")}};
    const NGINX_SERVER secure(options);
    fetch(secure.url("/down"));
    expect_failure(1, 302);
    EXPECT_EQ(text_of(*data), "The server redirects from https to http");
    server.serve("/up", "", {FAULT::redirect(302, secure.url("/down"))});
    fetch(server.url("/up"));
    expect_failure(1, 302);
    EXPECT_FALSE(exists());
    EXPECT_EQ(server.request_count("/f"), 0U);
    qunsetenv("SSL_CERT_FILE");
}

TEST_F(Downloader, KeepsTheRateLimitOverTls)
{
    const std::string content = pattern(1024 * 1024);
    const TEST_AUTHORITY authority;
    qputenv("SSL_CERT_FILE", authority.ca_file().c_str());
    dir.write("www/f", content);
    NGINX_OPTIONS options;
    options.root = dir / "www";
    options.certificate = authority.server();
    const NGINX_SERVER origin(options);
    CURL_RATE_LIMIT limit;
    limit.set(512 * 1024);
    data = std::make_unique<CURL_PROGRESS_DATA>();
    CURL_DOWNLOADER downloader("", proxy, false, 10);
    downloader.set_rate_limit(&limit);
    const auto before = CLOCK::now();
    EXPECT_EQ(downloader.download_one_file(origin.url("/f"), path(), data.get()), 200);
    EXPECT_GE(CLOCK::now() - before, 1800ms) << "1 MiB at 512 KiB per second, less a tenth";
    expect_success(content);
    qunsetenv("SSL_CERT_FILE");
}
