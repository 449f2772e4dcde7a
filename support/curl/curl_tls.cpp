#include "support/curl/curl_tls.h"

#include "support/curl/curl_ca_store.h"

namespace
{

void set_path(CURL_OPTIONS& options, CURLoption option, const std::optional<std::string>& path)
{
    if (path)
        options.set(option, path->empty() ? nullptr : path->c_str());
}

}

void curl_set_tls_options(CURL_OPTIONS& options)
{
    options.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    options.set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_REVOKE_BEST_EFFORT));
    options.set(CURLOPT_SSL_VERIFYPEER, 1L);
    options.set(CURLOPT_SSL_VERIFYHOST, 2L);

    const CURL_CA_STORE store = curl_find_ca_store();
    set_path(options, CURLOPT_CAINFO, store.file);
    set_path(options, CURLOPT_CAPATH, store.directory);
}
