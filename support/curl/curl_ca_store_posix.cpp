#include "support/curl/curl_ca_store_platform.h"

#include "support/fio/fio_file_system.h"

#include <cstdlib>

std::optional<std::string> curl_named_ca_directory()
{
    const char* named = std::getenv("SSL_CERT_DIR");
    return named != nullptr ? named : "";
}

std::optional<std::string> curl_well_known_ca_file(const std::string& root)
{
    for (const char* place : {
             "/etc/ssl/certs/ca-certificates.crt",                // Debian, Ubuntu, Arch, Alpine
             "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem", // RHEL, Fedora
             "/etc/pki/tls/certs/ca-bundle.crt",                  // their older releases
             "/etc/ssl/ca-bundle.pem",                            // SUSE
             "/var/lib/ca-certificates/ca-bundle.pem",            // SUSE, without that link
             "/etc/ssl/cert.pem",                                 // Alpine
             "/etc/ca-certificates/extracted/tls-ca-bundle.pem",  // Arch
         })
        if (FIO_FILE_SYSTEM::exists(root + place))
            return root + place;
    return {};
}
