#include "tests/harness/nginx_server.h"
#include "tests/integration/host_fixture.h"

#include <optional>

namespace
{

/// What Windows' API for TLS is told, as Wine reports it.
struct SCHANNEL_FLAGS
{
    unsigned long bits = 0;

    /// The names are those of schannel.h, without SCH_CRED_.
    [[nodiscard]] bool manual_validation() const { return (bits & 0x8) != 0; }
    [[nodiscard]] bool automatic_validation() const { return (bits & 0x20) != 0; }
    [[nodiscard]] bool revocation_check_chain() const { return (bits & 0x200) != 0; }
    [[nodiscard]] bool ignore_no_revocation_check() const { return (bits & 0x800) != 0; }
    [[nodiscard]] bool ignore_revocation_offline() const { return (bits & 0x1000) != 0; }
};

class HostTls : public HostTest
{
protected:
    HostTls()
    {
        builder.component("one");
        publish();
        options.root = dir / "release";
        options.certificate = authority.server();
    }

    ARGUMENTS arguments_for(const NGINX_SERVER& secure) const
    {
        return run_arguments({"--url", "https://localhost:" + std::to_string(secure.port())});
    }

    SCHANNEL_FLAGS flags() const
    {
        const NGINX_SERVER secure(options);
        CHILD_SETUP child = setup(arguments_for(secure));
        child.environment["WINEDEBUG"] = "trace+secur32";
        CHILD_PROCESS process(child);
        EXPECT_TRUE(process.wait(300s)) << process.output();
        const std::string trace = process.errors();
        const std::string title = "get_cert dwFlags = ";
        const std::size_t start = trace.find(title);
        if (start == std::string::npos)
        {
            ADD_FAILURE() << "Wine reports no flags:\n" << trace.substr(0, 4000);
            return {};
        }
        return {std::stoul(trace.substr(start + title.size(), 8), nullptr, 16)};
    }

    TEST_AUTHORITY authority;
    NGINX_OPTIONS options;
};

class HostWindowsTls : public HostTls
{
protected:
    void SetUp() override
    {
        if (tested_platform() != "windows")
            GTEST_SKIP() << "OpenSSL has no such flags";
    }
};

}

TEST_F(HostTls, RefusesProtocolsBeforeTls12)
{
    // What a permissive system would allow.
    dir.write("openssl.cnf", "openssl_conf = all\n[all]\nssl_conf = ssl\n"
                             "[ssl]\nsystem_default = weak\n"
                             "[weak]\nMinProtocol = TLSv1\nCipherString = DEFAULT@SECLEVEL=0\n");
    environment["OPENSSL_CONF"] = dir / "openssl.cnf";
    environment["SSL_CERT_FILE"] = authority.ca_file();
    options.outdated_tls = true;
    const NGINX_SERVER outdated(options);
    run(arguments_for(outdated));
    EXPECT_TRUE(output_holds("The TLS connection to localhost:" + std::to_string(outdated.port()) +
                             " failed"))
        << output;
    EXPECT_TRUE(outdated.access_log().empty());
}

TEST_F(HostWindowsTls, VerifiesServersWithTheSystemsAuthorities)
{
    const SCHANNEL_FLAGS found = flags();
    EXPECT_TRUE(found.automatic_validation());
    EXPECT_FALSE(found.manual_validation());
}

TEST_F(HostWindowsTls, VerifiesServersWithTheAuthoritiesOfAFile)
{
    environment["SSL_CERT_FILE"] = host_path(authority.ca_file());
    const SCHANNEL_FLAGS found = flags();
    EXPECT_TRUE(found.manual_validation());
    EXPECT_FALSE(found.automatic_validation());
}

TEST_F(HostWindowsTls, ToleratesOnlyUnreachableRevocationLists)
{
    for (const bool has_file : {false, true})
    {
        environment.erase("SSL_CERT_FILE");
        if (has_file)
            environment["SSL_CERT_FILE"] = host_path(authority.ca_file());
        const SCHANNEL_FLAGS found = flags();
        EXPECT_TRUE(found.revocation_check_chain()) << has_file;
        EXPECT_TRUE(found.ignore_no_revocation_check()) << has_file;
        EXPECT_TRUE(found.ignore_revocation_offline()) << has_file;
    }
}
