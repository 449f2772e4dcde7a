#include "tests/harness/kerberos_realm.h"
#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/integration/host_fixture.h"

namespace
{

/// A proxy that lets in whoever has a ticket of its realm. No user name is given to the program.
class HostKerberos : public HostTest
{
protected:
    HostKerberos()
    {
        for (const auto& [name, value] : realm.environment())
            environment[name] = value;
        environment["SSL_CERT_FILE"] = authority.ca_file().string();
        builder.component("one").pattern_content(300'000, 1);
        manifest = host_path(builder.write());
    }

    static SQUID_LOGIN tickets_of(const KERBEROS_REALM& realm)
    {
        SQUID_LOGIN login;
        login.realm = &realm;
        return login;
    }

    void serve(const std::optional<CERTIFICATE>& certificate = {})
    {
        NGINX_OPTIONS options{dir / "release"};
        options.certificate = certificate;
        origin.emplace(options);
    }

    /// \param url  of the release
    void download(const std::string& url)
    {
        run(run_arguments({"--retry-duration", "0", "--url", url, "--proxy",
                           "localhost:" + std::to_string(gate.port())}));
    }

    void expect_download()
    {
        EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
        EXPECT_EQ(read_file(dir / "dl/one.run"), read_file(builder.file("one").path));
        EXPECT_TRUE(realm.has_service_ticket());
    }

    const TEST_AUTHORITY authority;
    KERBEROS_REALM realm{"ada"};
    const PROXY_SERVER gate{tickets_of(realm)};
    std::optional<NGINX_SERVER> origin;
};

}

TEST_F(HostKerberos, OpensTheProxyForPlainDownloads)
{
    serve();
    realm.log_in();
    download(origin->url());
    expect_download();
    EXPECT_TRUE(gate.wait_for_access("ada@CORP.TEST", long_enough));
    EXPECT_TRUE(gate.wait_for_access("GET " + origin->url("/one.run"), long_enough));
}

TEST_F(HostKerberos, OpensTheProxyForTunnels)
{
    serve(authority.server());
    realm.log_in();
    download(origin->url());
    expect_download();
    EXPECT_TRUE(gate.wait_for_access("TCP_TUNNEL/200", long_enough));
}

TEST_F(HostKerberos, LeavesTheProxyClosedWithoutATicket)
{
    serve();
    download(origin->url());
    EXPECT_TRUE(output_holds("it offers Negotiate")) << output;
    EXPECT_FALSE(output_holds("Download successful"));
    EXPECT_EQ(origin->count_in_access_log("GET"), 0U);
}
