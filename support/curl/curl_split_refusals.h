#pragma once

#include <set>
#include <string>

/// The servers that have refused to send a file over more than one connection. Kept for a complete
/// run, over all its attempts: each refusal costs a request, and may count against the user. Used
/// by one thread at a time.
class CURL_SPLIT_REFUSALS
{
public:
    /// \param server  "host:port"
    void add(const std::string& server) { m_servers.insert(server); }
    bool contains(const std::string& server) const { return m_servers.count(server) > 0; }

private:
    std::set<std::string> m_servers;
};
