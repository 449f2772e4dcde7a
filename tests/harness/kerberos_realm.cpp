#include "tests/harness/kerberos_realm.h"

namespace
{

const std::string realm = "CORP.TEST";

}

KERBEROS_REALM::KERBEROS_REALM(const std::string& user)
    : m_user(user), m_center(std::make_unique<SERVER_PROCESS>([this](std::uint16_t port)
                                                              { return center_setup(port); }))
{
}

std::string KERBEROS_REALM::configuration() const
{
    return "[libdefaults]\n"
           "default_realm = " +
           realm +
           "\n"
           "dns_lookup_kdc = false\n"
           "dns_lookup_realm = false\n"
           "dns_canonicalize_hostname = false\n"
           "rdns = false\n"
           "udp_preference_limit = 1\n"
           "[realms]\n" +
           realm + " = {\nkdc = 127.0.0.1:" + std::to_string(m_port) +
           "\n}\n"
           "[domain_realm]\n"
           "localhost = " +
           realm + "\n";
}

std::map<std::string, std::string> KERBEROS_REALM::environment() const
{
    return {{"KRB5_CONFIG", (m_dir / "krb5.conf").string()},
            {"KRB5CCNAME", "FILE:" + (m_dir / "tickets").string()}};
}

CHILD_SETUP KERBEROS_REALM::tool(const std::string& name,
                                 const std::vector<std::string>& arguments) const
{
    CHILD_SETUP setup{name, arguments, m_dir.path(), environment()};
    setup.environment["KRB5_KDC_PROFILE"] = (m_dir / "kdc.conf").string();
    return setup;
}

CHILD_SETUP KERBEROS_REALM::center_setup(std::uint16_t port)
{
    m_port = port;
    const std::string address = "127.0.0.1:" + std::to_string(port);
    m_dir.write("krb5.conf", configuration());
    m_dir.write("kdc.conf", "[kdcdefaults]\nkdc_listen = " + address +
                                "\nkdc_tcp_listen = " + address + "\n[realms]\n" + realm +
                                " = {\ndatabase_name = " + m_dir.str() +
                                "/principal\nkey_stash_file = " + m_dir.str() + "/stash\n}\n" +
                                "[logging]\nkdc = FILE:" + m_dir.str() + "/kdc.log\n");
    if (!std::filesystem::exists(m_dir / "principal"))
    {
        run_tool(
            tool("/usr/sbin/kdb5_util", {"create", "-s", "-r", realm, "-P", "of the database"}));
        const auto administrate = [this](const std::string& query) {
            run_tool(tool("/usr/sbin/kadmin.local", {"-r", realm, "-q", query}));
        };
        administrate("addprinc -randkey " + m_user);
        administrate("addprinc -randkey HTTP/localhost");
        administrate("ktadd -k " + keytab().string() + " HTTP/localhost");
        administrate("ktadd -norandkey -k " + (m_dir / "user.keytab").string() + " " + m_user);
    }
    return tool("/usr/sbin/krb5kdc", {"-n", "-r", realm, "-P", (m_dir / "kdc.pid").string()});
}

void KERBEROS_REALM::log_in()
{
    run_tool(tool("kinit", {"-k", "-t", (m_dir / "user.keytab").string(), m_user + "@" + realm}));
}

bool KERBEROS_REALM::has_service_ticket() const
{
    return run_tool(tool("klist", {})).find("HTTP/localhost") != std::string::npos;
}
