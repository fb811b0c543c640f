#pragma once

#include "support/Eventually.h"
#include "support/Hex.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::test {

/// The other end of a TCP connection, as rude as a test wants it to be. Reads fail by exception
/// after the tests' deadline.
class Peer
{
public:
    /// Connects as soon as somebody listens.
    explicit Peer(std::uint16_t port, const char* address = "127.0.0.1", int receiveBuffer = 0)
    {
        const bool connected =
            eventually([&] { return tryToConnect(port, address, receiveBuffer); });
        if (!connected) {
            throw std::runtime_error("nobody listens on port " + std::to_string(port));
        }
    }

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    ~Peer() { close(); }

    void close()
    {
        if (_socket >= 0) {
            ::close(_socket);
            _socket = -1;
        }
    }

    /// Leaves without a goodbye: the connection is reset.
    void reset()
    {
        const linger hard{1, 0};
        ::setsockopt(_socket, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        close();
    }

    void send(std::string_view text) { send(std::as_bytes(std::span(text))); }

    void sendHex(std::string_view hex) { send(fromHex(hex)); }

    void send(std::span<const std::byte> bytes)
    {
        while (!bytes.empty()) {
            const ssize_t count = ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0) {
                throw std::runtime_error("the server has hung up on a send");
            }
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
    }

    /// Exactly this many bytes.
    [[nodiscard]] std::vector<std::byte> receive(std::size_t count)
    {
        std::vector<std::byte> result(count);
        std::size_t filled = 0;
        while (filled < count) {
            const std::size_t got = receiveSome(std::span(result).subspan(filled));
            if (got == 0) {
                throw std::runtime_error("the server has hung up");
            }
            filled += got;
        }
        return result;
    }

    [[nodiscard]] std::string receiveHex(std::size_t count) { return toHex(receive(count)); }

    /// A line without its CR LF.
    [[nodiscard]] std::string receiveLine()
    {
        std::string line;
        while (!line.ends_with("\r\n")) {
            line += static_cast<char>(receive(1).front());
        }
        line.resize(line.size() - 2);
        return line;
    }

    /// Whether the server hangs up, whatever it sends before.
    [[nodiscard]] bool hungUp()
    {
        std::vector<std::byte> ignored(4096);
        try {
            while (receiveSome(ignored) > 0) {
            }
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    /// Whether something is there to be read now, or in this time.
    [[nodiscard]] bool hasInput(int timeoutMs = 0) const { return readable(timeoutMs); }

private:
    bool tryToConnect(std::uint16_t port, const char* address, int receiveBuffer)
    {
        close();
        _socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (receiveBuffer > 0) {
            ::setsockopt(_socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        }
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = ::inet_addr(address);
        return port != 0 &&
               ::connect(_socket, reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0;
    }

    [[nodiscard]] bool readable(int timeoutMs) const
    {
        pollfd entry{_socket, POLLIN, 0};
        return ::poll(&entry, 1, timeoutMs) > 0;
    }

    std::size_t receiveSome(std::span<std::byte> bytes)
    {
        if (!readable(static_cast<int>(std::chrono::milliseconds(DEADLINE).count()))) {
            throw std::runtime_error("the server says nothing");
        }
        const ssize_t count = ::recv(_socket, bytes.data(), bytes.size(), 0);
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    int _socket = -1;
};

} // namespace tarvik::test
