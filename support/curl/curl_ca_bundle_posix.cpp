#include "support/curl/curl_ca_bundle_platform.h"

#include "support/fio/fio_file_system.h"

std::string curl_well_known_ca_bundle()
{
    for (const char* place :
         {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
          "/etc/ssl/ca-bundle.pem", "/etc/ssl/cert.pem"})
        if (FIO_FILE_SYSTEM::exists(place))
            return place;
    return {};
}
