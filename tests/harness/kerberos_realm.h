#pragma once

#include "tests/harness/server_process.h"
#include "tests/harness/temp_dir.h"

#include <map>
#include <string>

/// A Kerberos realm with its own key distribution center on a loopback port, a user, and the
/// service HTTP/localhost: a proxy whose address is given as "localhost". Needs Debian's krb5-kdc,
/// krb5-admin-server and krb5-user.
class KERBEROS_REALM final
{
public:
    explicit KERBEROS_REALM(const std::string& user);

    /// The variables with which programs use this realm and the user's tickets.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Gets the user a ticket, like a login to the domain.
    void log_in();

    /// Whether the user's tickets include one for HTTP/localhost.
    [[nodiscard]] bool has_service_ticket() const;

    /// The realm's configuration, and the key of the service.
    [[nodiscard]] std::string configuration() const;
    [[nodiscard]] std::filesystem::path keytab() const { return m_dir / "service.keytab"; }

private:
    CHILD_SETUP tool(const std::string& name, const std::vector<std::string>& arguments) const;
    CHILD_SETUP center_setup(std::uint16_t port);

    TEMP_DIR m_dir;
    const std::string m_user;
    std::uint16_t m_port = 0;
    std::unique_ptr<SERVER_PROCESS> m_center;
};
