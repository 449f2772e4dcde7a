#include "support/curl/curl_no_proxy.h"

#include "support/curl/curl_ip_address.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>

namespace
{

using ADDRESS = std::vector<unsigned char>;

std::string lower_case(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

std::string_view without_brackets(std::string_view host)
{
    return host.size() >= 2 && host.front() == '[' && host.back() == ']'
               ? host.substr(1, host.size() - 2)
               : host;
}

std::string_view without_final_dot(std::string_view name)
{
    return !name.empty() && name.back() == '.' ? name.substr(0, name.size() - 1) : name;
}

bool begins_equally(const ADDRESS& a, const ADDRESS& b, std::size_t bits)
{
    for (std::size_t bit = 0; bit < bits; ++bit)
    {
        const unsigned mask = 0x80U >> (bit % CHAR_BIT);
        if ((a[bit / CHAR_BIT] & mask) != (b[bit / CHAR_BIT] & mask))
            return false;
    }
    return true;
}

/// \param network  "10.0.0.0/8", or one address
bool is_in_network(const ADDRESS& address, std::string_view network)
{
    const std::size_t slash = std::min(network.find('/'), network.size());
    const auto base =
        curl_parse_ip_address(std::string(without_brackets(network.substr(0, slash))));
    if (!base || base->size() != address.size())
        return false;
    const std::size_t all_bits = address.size() * CHAR_BIT;
    std::size_t bits = 0;
    if (slash < network.size())
        std::from_chars(network.data() + slash + 1, network.data() + network.size(), bits);
    // libcurl, too, reads a network of all addresses as a single address.
    return bits <= all_bits && begins_equally(address, *base, bits == 0 ? all_bits : bits);
}

/// \param domain  "example.com" or ".example.com"; both include the domain itself
bool is_in_domain(const std::string& host, std::string_view domain)
{
    domain = without_final_dot(domain);
    if (!domain.empty() && domain.front() == '.')
        domain.remove_prefix(1);
    if (domain.empty() || domain.size() > host.size())
        return false;
    const std::size_t start = host.size() - domain.size();
    return host.compare(start, domain.size(), lower_case(domain)) == 0 &&
           (start == 0 || host[start - 1] == '.');
}

}

bool curl_is_excluded(std::string_view host, std::string_view exceptions)
{
    constexpr std::string_view separators = ", \t";
    if (exceptions == "*")
        return true;
    const std::string name = lower_case(without_final_dot(without_brackets(host)));
    const auto address = curl_parse_ip_address(name);
    for (std::size_t at = 0;
         (at = exceptions.find_first_not_of(separators, at)) < exceptions.size();)
    {
        const std::size_t end =
            std::min(exceptions.find_first_of(separators, at), exceptions.size());
        const std::string_view entry = exceptions.substr(at, end - at);
        if (address ? is_in_network(*address, entry) : is_in_domain(name, entry))
            return true;
        at = end;
    }
    return false;
}
