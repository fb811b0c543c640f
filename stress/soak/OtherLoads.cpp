#include "soak/Loads.h"

#include <fnmatch.h>
#include <sys/socket.h>

#include <array>
#include <exception>
#include <random>
#include <span>
#include <stdexcept>
#include <string>

namespace tarvik::soak {

namespace {

using test::Peer;

struct Question
{
    const char* command;
    const char* answer; ///< as a pattern of file names
};

constexpr std::array QUESTIONS{
    Question{"VERSION", "Tarvik 1.7.0 Build *"},
    Question{"IMAGE", "1 OK: operation successful."},
    Question{"RV Hello", "HELLO"},
    Question{"RV Objects", "[0-9]*"},
    Question{"RV O1", "*[0-9], *[0-9], *[0-9], (*)"},
    Question{"nonsense", "0 ERROR: parse error, or command unknown."},
};

void ask(Peer& controller, const Question& question)
{
    controller.send(std::string(question.command) + "\n");
    const std::string answer = controller.receiveLine();
    if (::fnmatch(question.answer, answer.c_str(), 0) != 0) {
        throw std::runtime_error("'" + std::string(question.command) + "' was answered with '" +
                                 answer + "'");
    }
}

/// The binary record may hold line ends.
void askForRecord(Peer& controller)
{
    controller.send("RDO \"RPD\"\r\n");
    const auto head = controller.receive(30);
    const auto objects = std::to_integer<std::size_t>(head[12]);
    const auto rest = controller.receive(40 * objects + 2);
    if (objects > 16 || std::to_integer<char>(rest.back()) != '\n') {
        throw std::runtime_error("a broken record");
    }
}

} // namespace

void runTelnet(Stage& stage)
{
    constexpr int QUESTIONS_PER_CONNECTION = 100;
    while (stage.score.goesOn()) {
        const Clock::time_point start = Clock::now();
        try {
            const auto controller = patiently(stage.score, [&stage] {
                auto peer = stage.server.client(test::TELNET_PORT);
                static_cast<void>(peer->receiveLine());
                return peer;
            });
            ++stage.score.reconnects;
            for (int i = 0; i < QUESTIONS_PER_CONNECTION && stage.score.goesOn(); ++i) {
                if (i % 7 == 6) {
                    askForRecord(*controller);
                } else {
                    ask(*controller, QUESTIONS.at(static_cast<std::size_t>(i) % QUESTIONS.size()));
                }
                ++stage.score.requests;
            }
        } catch (const std::exception& e) {
            stage.score.failUnlessDisturbed(start, std::string("telnet: ") + e.what());
        }
    }
}

void runResets(Stage& stage)
{
    constexpr std::array PORTS{test::CONTROL_PORT, test::LAB_PORT, test::TELNET_PORT};
    std::mt19937 random(7);
    while (stage.score.pause(std::chrono::milliseconds(20))) {
        const std::uint16_t port = PORTS.at(random() % PORTS.size());
        const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = ::inet_addr(stage.server.address().c_str());
        if (::connect(connection, reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0) {
            std::array<unsigned char, 64> nonsense{};
            for (unsigned char& byte : nonsense) {
                byte = static_cast<unsigned char>(random());
            }
            static_cast<void>(
                ::send(connection, nonsense.data(), random() % nonsense.size(), MSG_NOSIGNAL));
        }
        const linger hard{1, 0};
        ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        ::close(connection);
        ++stage.score.resets;
    }
}

void runReceiver(Stage& stage, io::net::UDPSocket& socket)
{
    std::array<std::byte, 2048> buffer{};
    while (stage.score.pause(std::chrono::milliseconds(5))) {
        while (socket.bytesAvailable() > 0) {
            const auto bytes = std::span(buffer).first(socket.readSome(buffer));
            unsigned sum = 0;
            for (const std::byte byte : bytes) {
                sum += std::to_integer<unsigned>(byte);
            }
            const std::size_t expected =
                bytes.size() < 17 ? 17 : 17U + 40U * std::to_integer<std::size_t>(bytes[14]);
            if (sum % 256 != 255 || bytes.size() != expected) {
                stage.score.fail("a broken datagram of " + std::to_string(bytes.size()) + " bytes");
            }
            ++stage.score.datagrams;
        }
    }
}

} // namespace tarvik::soak
