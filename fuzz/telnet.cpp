#include "Target.h"
#include "core/Exception.h"
#include "database/Database.h"
#include "database/Matchings.h"
#include "io/net/TCPSocket.h"
#include "io/serialization/BinaryDecoder.h"
#include "server/Results.h"
#include "server/TelnetServer.h"

#include <string>
#include <string_view>
#include <thread>

// The telnet server's command interpreter, over a real connection: every line gets one answer. An
// input is a result in its binary form, then what the client sends.

namespace tarvik::fuzz {
namespace {

using io::net::TCPSocket;

constexpr std::string_view GREETING = "20 no authentication required.\r\n";
constexpr std::size_t MAX_TEXT = 4096;

/// A running telnet server, and its client.
class Telnet
{
public:
    Telnet()
    {
        silence();
        _server.setConfig({.port = 0, .timeout = 0});
        _server.start();
        while (_server.localPort() == 0) {
            std::this_thread::yield();
        }
        _client.open();
        _client.connect("127.0.0.1", _server.localPort());
        std::string greeting(GREETING.size(), ' ');
        _client.read(std::as_writable_bytes(std::span(greeting)));
        require(greeting == GREETING, "a client is greeted");
    }

    /// Sends the text and waits until this many answers have come, each with a new result.
    void ask(std::string_view text, std::size_t answers, const database::Matchings& result)
    {
        _client.write(std::as_bytes(std::span(text)));
        std::string received;
        while (answers > 0) {
            _results.publish(result);
            receiveInto(received);
            while (answers > 0 && dropAnswer(received)) {
                --answers;
            }
        }
        require(received.empty(), "a line has one answer");
    }

private:
    void receiveInto(std::string& received)
    {
        std::this_thread::yield();
        const std::size_t count = _client.bytesAvailable();
        const std::size_t before = received.size();
        received.resize(before + count);
        _client.read(std::as_writable_bytes(std::span(received).subspan(before)));
    }

    /// A binary record says how long it is; the others end with the line.
    static bool dropAnswer(std::string& received)
    {
        std::size_t size = received.find('\n') + 1;
        if (received.starts_with("RDORPD")) {
            constexpr std::size_t lengthAt = 8;
            constexpr std::size_t behindLength = 12;
            if (received.size() < behindLength) {
                return false;
            }
            const auto low = static_cast<unsigned char>(received[lengthAt]);
            const auto high = static_cast<unsigned char>(received[lengthAt + 1]);
            size = behindLength + low + 256U * high + 2;
        }
        if (size == 0 || received.size() < size) {
            return false;
        }
        require(received.substr(size - 2, 2) == "\r\n", "an answer is a line");
        received.erase(0, size);
        return true;
    }

    test::Results _results;
    database::Database _database;
    com::ConnectionTester _tester;
    std::string _address = "127.0.0.1";
    com::server::TelnetServer _server{
        {_results, _database, _tester, _address, [] { return true; }}};
    TCPSocket _client;
};

database::Matchings takeResult(Input& input)
{
    database::Matchings result;
    try {
        io::serialization::BinaryDecoder decoder(
            static_cast<io::stream::MemoryInputStream&>(input));
        database::Matchings::serialize(decoder, result);
    } catch (const Exception&) {
        result.setCount(0);
    }
    return result;
}

/// Lines up to the one that would end the connection, and their number.
std::size_t cutToLines(std::string& text)
{
    std::size_t lines = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = text.find_first_of("\r\n", at);
        const std::string_view line = std::string_view(text).substr(at, end - at);
        if (line == "EXIT" || line == "quit") {
            break;
        }
        if (end == std::string::npos) {
            text += "\r\n";
            return lines + 1;
        }
        at = text.compare(end, 2, "\r\n") == 0 ? end + 2 : end + 1;
        ++lines;
    }
    text.resize(at);
    return lines;
}

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik::fuzz;
    static Telnet telnet;
    Input input(data, size);
    const tarvik::database::Matchings result = takeResult(input);
    std::string text(std::min(input.bytesAvailable(), MAX_TEXT), ' ');
    input.read(std::as_writable_bytes(std::span(text)));
    if (!text.empty() && text.front() == '\n') {
        text.front() = '\r'; // it would belong to the line before
    }
    const std::size_t lines = cutToLines(text);
    telnet.ask(text, lines, result);
    return 0;
}
