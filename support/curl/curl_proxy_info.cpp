#include "support/curl/curl_proxy_info.h"

#include <utility>

CURL_PROXY_INFO::CURL_PROXY_INFO(std::string host, std::string port, std::string username,
                                 std::string password)
    : m_host(std::move(host)), m_port(std::move(port)), m_username(std::move(username)),
      m_password(std::move(password))
{
}

CURL_PROXY_INFO CURL_PROXY_INFO::direct()
{
    CURL_PROXY_INFO none;
    none.m_is_direct = true;
    return none;
}

void CURL_PROXY_INFO::set_username(const std::string& username)
{
    m_username = username;
    m_has_added_credentials = true;
}

void CURL_PROXY_INFO::set_unecrypted_password(const std::string& password)
{
    m_password = password;
    m_has_added_credentials = true;
}

std::string CURL_PROXY_INFO::address() const
{
    return m_port.empty() ? m_host : m_host + ":" + m_port;
}
