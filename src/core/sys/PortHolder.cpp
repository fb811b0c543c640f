#include "core/sys/PortHolder.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

// The kernel's tables of sockets and of descriptors: proc(5), "/proc/net/tcp" and "/proc/pid/fd".
namespace tarvik::sys {

namespace {

namespace fs = std::filesystem;

constexpr unsigned LISTENING = 0x0A;

struct Owner
{
    unsigned user = 0;
    unsigned long inode = 0;
};

/// A line of the table: local address and port, state, user and inode; addresses as the machine
/// keeps their 32-bit words, in hexadecimal: 8 digits, or 32 for IPv6.
struct Line
{
    std::array<char, 33> address{};
    unsigned port = 0;
    unsigned state = 0;
    Owner owner;

    [[nodiscard]] static std::optional<Line> parse(const std::string& text)
    {
        Line line;
        const int fields = std::sscanf(
            text.c_str(), " %*d: %32[0-9A-Fa-f]:%x %*s %x %*s %*s %*s %u %*d %lu",
            line.address.data(), &line.port, &line.state, &line.owner.user, &line.owner.inode);
        return fields == 5 ? std::optional(line) : std::nullopt;
    }

    /// A socket for every address keeps others from each single one, and the other way round.
    [[nodiscard]] bool overlaps(const in_addr& wanted) const
    {
        const std::string text(address.data());
        if (wanted.s_addr == INADDR_ANY ||
            std::ranges::all_of(text, [](char c) { return c == '0'; })) {
            return true;
        }
        return text.size() == 8 && std::stoul(text, nullptr, 16) == wanted.s_addr;
    }
};

std::optional<Owner> ownerIn(const char* table, bool listening, const sockaddr_in& wanted)
{
    std::ifstream file(table);
    for (std::string text; std::getline(file, text);) {
        const std::optional<Line> line = Line::parse(text);
        if (line && line->port == ntohs(wanted.sin_port) && line->overlaps(wanted.sin_addr) &&
            (!listening || line->state == LISTENING)) {
            return line->owner;
        }
    }
    return std::nullopt;
}

bool holds(const fs::path& process, const std::string& socket)
{
    std::error_code error; // a process may end, or be none of our business
    for (fs::directory_iterator fd(process / "fd", error); !error && fd != fs::directory_iterator();
         fd.increment(error)) {
        std::error_code closed;
        if (fs::read_symlink(*fd, closed) == socket) {
            return true;
        }
    }
    return false;
}

std::string nameOf(const fs::path& process)
{
    std::string name;
    std::ifstream file(process / "comm");
    std::getline(file, name);
    return name + ", process " + process.filename().string();
}

} // namespace

std::string portHolder(int protocol, const sockaddr_in& address)
{
    const bool tcp = protocol == IPPROTO_TCP;
    std::optional<Owner> owner =
        ownerIn(tcp ? "/proc/self/net/tcp" : "/proc/self/net/udp", tcp, address);
    if (!owner) { // a socket for both versions stands in the table of version 6
        owner = ownerIn(tcp ? "/proc/self/net/tcp6" : "/proc/self/net/udp6", tcp, address);
    }
    if (!owner) {
        return {};
    }
    const std::string socket = "socket:[" + std::to_string(owner->inode) + "]";
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const fs::path& process = entry->path();
        const bool isProcess =
            std::isdigit(static_cast<unsigned char>(process.filename().c_str()[0])) != 0;
        if (isProcess && holds(process, socket)) {
            return nameOf(process);
        }
    }
    return "a process of user " + std::to_string(owner->user);
}

} // namespace tarvik::sys
