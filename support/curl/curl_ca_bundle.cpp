#include "support/curl/curl_ca_bundle.h"

#include "support/fio/fio_file_system.h"

#include <cstdlib>

std::string curl_find_ca_bundle()
{
    for (const char* name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE"})
        if (const char* named = std::getenv(name); named != nullptr && *named != '\0')
            return named;
    for (const char* place :
         {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
          "/etc/ssl/ca-bundle.pem", "/etc/ssl/cert.pem"})
        if (FIO_FILE_SYSTEM::exists(place))
            return place;
    return {};
}
