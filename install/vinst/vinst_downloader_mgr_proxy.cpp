#include "install/vinst/vinst_downloader_mgr.h"

#include "install/vinst/vinst_messages.h"

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::get_default_proxy()
{
    run_log().debug("get default proxy ...");
    // Transfers without a proxy follow the environment's proxy variables by themselves.
    return {};
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::discover_proxy()
{
    return {};
}
