#pragma once

#include "io/net/TCPSocket.h"
#include "support/Hex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <thread>
#include <utility>

namespace tarvik::test {

/// Serves one client by a script, then hangs up.
class FakeServer
{
public:
    using Script = std::function<void(io::net::TCPSocket&)>;

    explicit FakeServer(Script script)
    {
        _socket.open();
        _socket.bind("127.0.0.1", 0);
        _socket.listen();
        _port = static_cast<std::uint16_t>(_socket.localPort());
        _thread = std::thread([this, run = std::move(script)] {
            try {
                _socket.accept();
                run(_socket);
            } catch (const std::exception&) {
                // the client has gone, or the test is over
            }
            _socket.close();
        });
    }

    ~FakeServer()
    {
        _socket.interrupt();
        _thread.join();
    }

    FakeServer(const FakeServer&) = delete;
    FakeServer& operator=(const FakeServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return _port; }

    static void sendHex(io::net::TCPSocket& socket, const char* hex) { socket.write(fromHex(hex)); }

    /// 1.7.0 build 1, 640 x 480
    static void greet(io::net::TCPSocket& socket)
    {
        sendHex(socket, "01 00 00 00 07 00 00 00 00 00 00 00 01 00 00 00 80 02 00 00 E0 01 00 00");
    }

    /// Until the client leaves.
    static void stayConnected(io::net::TCPSocket& socket)
    {
        std::array<std::byte, 1> byte{};
        while (true) {
            socket.read(byte);
        }
    }

private:
    io::net::TCPSocket _socket;
    std::uint16_t _port = 0;
    std::thread _thread;
};

} // namespace tarvik::test
