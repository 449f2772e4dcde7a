#pragma once

#include <string>

// The schemes with which a transfer logs in to its proxy, as sets of libcurl's CURLAUTH_ bits.

/// The schemes to allow in the first request: those that use a user name and a password. libcurl
/// uses the strongest of them that the proxy offers. Negotiate is not among them: libcurl would
/// prefer it, and then fail without a ticket although the password is right.
long curl_first_proxy_auth();

/// The schemes to allow after the proxy has refused; 0 if there is nothing else to try. With
/// credentials, these are the schemes that are weaker than the one that failed. Without, it is
/// Negotiate, which may use a ticket.
///
/// \param allowed          in the request that was refused
/// \param offered          by the proxy
/// \param has_credentials  whether the request has a user name
long curl_next_proxy_auth(long allowed, long offered, bool has_credentials);

/// The names of the schemes, as in "Negotiate, Basic", the strongest first.
std::string curl_auth_names(long schemes);
