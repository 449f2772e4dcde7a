#include "tests/harness/test_authority.h"

#include "tests/harness/child_process.h"

namespace
{

constexpr const char* loopback_names = "DNS:localhost,IP:127.0.0.1";

void openssl(const TEMP_DIR& dir, const std::vector<std::string>& arguments)
{
    CHILD_SETUP setup{"openssl", arguments, dir.path()};
    run_tool(setup.live_in(dir.path()));
}

/// Creates a self-signed certificate with a new key.
void make_self_signed(const TEMP_DIR& dir, const std::string& name, const std::string& extensions)
{
    const std::string config = name + ".cnf";
    dir.write(config, "[req]\nprompt=no\ndistinguished_name=subject\nx509_extensions=extensions\n"
                      "[subject]\nCN=" +
                          name + " of a test\n[extensions]\n" + extensions);
    openssl(dir,
            {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
             "-days", "2", "-config", config, "-keyout", name + ".key", "-out", name + ".pem"});
}

}

TEST_AUTHORITY::TEST_AUTHORITY()
{
    make_self_signed(m_dir, "ca",
                     "basicConstraints=critical,CA:TRUE\n"
                     "keyUsage=critical,keyCertSign,cRLSign\nsubjectKeyIdentifier=hash\n");
    make_self_signed(m_dir, "untrusted", std::string("subjectAltName=") + loopback_names + "\n");
    sign("server", loopback_names);
    sign("other_host", "DNS:elsewhere.example");
}

std::filesystem::path TEST_AUTHORITY::ca_directory() const
{
    m_dir.write("authorities/ca.pem", read_file(ca_file()));
    openssl(m_dir, {"rehash", "authorities"});
    return m_dir / "authorities";
}

CERTIFICATE TEST_AUTHORITY::named(const std::string& name) const
{
    return {m_dir / (name + ".pem"), m_dir / (name + ".key")};
}

void TEST_AUTHORITY::sign(const std::string& name, const std::string& names) const
{
    m_dir.write(name + ".cnf", "[req]\nprompt=no\ndistinguished_name=subject\n[subject]\nCN=" +
                                   name + " of a test\n[extensions]\nsubjectAltName=" + names +
                                   "\nextendedKeyUsage=serverAuth\nbasicConstraints=CA:FALSE\n"
                                   "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n");
    openssl(m_dir,
            {"req", "-new", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
             "-config", name + ".cnf", "-keyout", name + ".key", "-out", name + ".csr"});
    openssl(m_dir, {"x509", "-req", "-in", name + ".csr", "-CA", "ca.pem", "-CAkey", "ca.key",
                    "-CAcreateserial", "-days", "2", "-extfile", name + ".cnf", "-extensions",
                    "extensions", "-out", name + ".pem"});
}
