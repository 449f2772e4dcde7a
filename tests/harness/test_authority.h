#pragma once

#include "tests/harness/temp_dir.h"

/// A certificate and its key, as PEM files.
struct CERTIFICATE
{
    std::filesystem::path certificate;
    std::filesystem::path key;
};

/// A temporary certificate authority and its certificates; the files are removed with this object.
class TEST_AUTHORITY final
{
public:
    TEST_AUTHORITY();

    /// The CA certificate that a client must trust, for SSL_CERT_FILE or CURL_CA_BUNDLE.
    [[nodiscard]] std::filesystem::path ca_file() const { return m_dir / "ca.pem"; }

    /// A directory with the CA certificate, for SSL_CERT_DIR.
    [[nodiscard]] std::filesystem::path ca_directory() const;

    /// For localhost and 127.0.0.1, signed by the authority.
    [[nodiscard]] CERTIFICATE server() const { return named("server"); }
    /// Signed by the authority, but for elsewhere.example.
    [[nodiscard]] CERTIFICATE other_host() const { return named("other_host"); }
    /// For localhost and 127.0.0.1, self-signed: not trusted.
    [[nodiscard]] CERTIFICATE untrusted() const { return named("untrusted"); }

private:
    [[nodiscard]] CERTIFICATE named(const std::string& name) const;
    void sign(const std::string& name, const std::string& names) const;

    TEMP_DIR m_dir;
};
