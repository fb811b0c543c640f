#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarvik::desk {

/// Lets pass what comes from the desk's own page or from a program, and not what a page from
/// elsewhere makes a browser send: a foreign Origin, or the name of a foreign host that has been
/// pointed at this machine (DNS rebinding).
class Guard
{
public:
    /// Loopback names and the address on which the desk listens are known; `hosts` adds names.
    Guard(const std::string& listenAddress, std::vector<std::string> hosts);

    /// Why a request must not pass; nothing when it may. Texts are those of the headers Host,
    /// Origin and Sec-Fetch-Site, empty when absent.
    [[nodiscard]] std::optional<std::string> objection(const std::string& host,
                                                       const std::string& origin,
                                                       const std::string& fetchSite) const;

private:
    [[nodiscard]] bool knows(const std::string& hostAndPort) const;

    std::vector<std::string> _hosts;
};

} // namespace tarvik::desk
