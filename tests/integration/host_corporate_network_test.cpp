#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/desktop_session.h"
#include "tests/integration/host_fixture.h"
#include "tests/integration/inside_namespace.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr const char* origin_address = "10.98.0.1";
constexpr int origin_port = 8088;
constexpr const char* gate_address = "10.97.0.1";

/// Receives the queries for host names and answers none.
class SILENT_NAME_SERVER
{
public:
    SILENT_NAME_SERVER() : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_is_bound =
            ::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }
    ~SILENT_NAME_SERVER() { ::close(m_socket); }
    SILENT_NAME_SERVER(const SILENT_NAME_SERVER&) = delete;
    SILENT_NAME_SERVER& operator=(const SILENT_NAME_SERVER&) = delete;

    bool is_bound() const { return m_is_bound; }

private:
    const int m_socket;
    bool m_is_bound = false;
};

/// A network whose origin only the proxy reaches. The proxy is behind a second interface, offers
/// Negotiate to machines of the domain, and accepts passwords by Basic.
class HostCorporateNetwork : private INSIDE_NAMESPACE, public HostTest
{
protected:
    void SetUp() override
    {
        if (!obstacle.empty())
            GTEST_SKIP() << obstacle;
        if (const std::string missing = obstacle_to_desktop_session(); !missing.empty())
            GTEST_SKIP() << missing;
        network->add_interface(std::string(gate_address) + "/24");
        network->add_guarded_address(origin_address, origin_port);
        network->set_hosts(std::string(origin_address) + " dl.corp.test\n");
        network->set_resolver("search corp.test\noptions timeout:1 attempts:1\n");
        names.emplace();
        ASSERT_TRUE(names->is_bound());

        const std::string origin = "http://dl.corp.test:" + std::to_string(origin_port);
        builder.download_url(origin).test_file(origin);
        builder.component("one").pattern_content(3000, 1);
        manifest = builder.write().string();
        NGINX_OPTIONS options{dir / "release"};
        options.also_listen = {std::string(origin_address) + ":" + std::to_string(origin_port)};
        origin_server.emplace(options);

        SQUID_LOGIN login{"ada", "s3cret", true, false, false, true};
        login.also_listen = gate_address;
        gate.emplace(login);
        environment["VINST_NO_PROXY_DISCOVERY"] = "";
        environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    }

    void run_in_session(const ARGUMENTS& arguments)
    {
        CHILD_PROCESS process(in_desktop_session(
            setup(arguments), gnome_proxy_script(gate_address, gate->port()), dir.path()));
        ASSERT_TRUE(process.wait(120s)) << process.output() << process.errors();
        output = process.output();
        errors = process.errors();
    }

    std::string attempt() const
    {
        return std::string("Testing internet connection ... \nINFO: Proxy server: ") +
               gate_address + ", port:" + std::to_string(gate->port()) +
               "\nINFO: Proxy source: the desktop's settings\n";
    }

    std::optional<SILENT_NAME_SERVER> names;
    std::optional<NGINX_SERVER> origin_server;
    std::optional<PROXY_SERVER> gate;
};

}

TEST_F(HostCorporateNetwork, IsPassedWithTheDesktopsProxyAndAPassword)
{
    run_in_session(run_arguments({"--proxy-user", "ada:s3cret"}));
    const std::string start = attempt() + "Test download -> success\n";
    EXPECT_EQ(output.substr(0, start.size()), start) << errors;
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(read_file(dir / "dl/one.run"), read_file(builder.file("one").path));
    EXPECT_NE(log().find("[info] Proxy of the downloads: " + std::string(gate_address) + ":" +
                         std::to_string(gate->port()) + " (the desktop's settings)\n"),
              std::string::npos)
        << log();
    EXPECT_EQ(log().find("s3cret"), std::string::npos);
}

TEST_F(HostCorporateNetwork, ReportsThatThePasswordIsMissing)
{
    run_in_session({"--test-download"});
    EXPECT_EQ(output.substr(0, output.find("Internet")), attempt() + attempt()) << errors;
    EXPECT_TRUE(output_holds("\nThe proxy requires a valid user name and password (HTTP status "
                             "407; it offers Negotiate, Basic).\n"))
        << output;
}
