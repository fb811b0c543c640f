#include "Guard.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace tarvik::desk {

namespace {

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

constexpr const char* SCHEME = "http://";

} // namespace

Guard::Guard(const std::string& listenAddress, std::vector<std::string> hosts)
    : _hosts(std::move(hosts))
{
    _hosts.insert(_hosts.end(), {"localhost", "127.0.0.1", "[::1]", listenAddress});
    std::ranges::transform(_hosts, _hosts.begin(), lower);
}

std::optional<std::string> Guard::objection(const std::string& host, const std::string& origin,
                                            const std::string& fetchSite) const
{
    if (!knows(host)) {
        return "This desk does not answer to the name '" + host +
               "'. Start it with --allow-host NAME if it should.";
    }
    // A tunnel or proxy may use another port, but page and request then agree on it.
    if (!origin.empty() && lower(origin) != SCHEME + lower(host)) {
        return "Requests from pages of '" + origin + "' are refused.";
    }
    if (fetchSite == "cross-site" || fetchSite == "same-site") {
        return std::string("Requests from pages of other sites are refused.");
    }
    return std::nullopt;
}

bool Guard::knows(const std::string& hostAndPort) const
{
    std::string host = lower(hostAndPort);
    const auto colon = host.rfind(':');
    if (colon != std::string::npos && host.back() != ']') { // else a bare IPv6 address
        const std::string port = host.substr(colon + 1);
        if (port.empty() ||
            !std::ranges::all_of(port, [](unsigned char c) { return std::isdigit(c) != 0; })) {
            return false;
        }
        host.resize(colon);
    }
    return std::ranges::find(_hosts, host) != _hosts.end();
}

} // namespace tarvik::desk
