#include "io/buffer/ByteBuffer.h"
#include "io/buffer/CharReader.h"
#include "io/stream/InputStream.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using namespace tarvik::io;
using namespace tarvik::test;

namespace {

/// Delivers one packet per read; the end of the stream is a failure.
class Packets : public stream::InputStream<Packets>
{
public:
    explicit Packets(std::vector<std::string> packets) : _packets(std::move(packets)) {}

    std::size_t readSomeImpl(std::span<std::byte> bytes)
    {
        if (_next == _packets.size()) {
            throw IOException("end");
        }
        std::string& packet = _packets[_next];
        const std::size_t count = std::min(bytes.size(), packet.size());
        std::memcpy(bytes.data(), packet.data(), count);
        packet.erase(0, count);
        _next += packet.empty() ? 1 : 0;
        return count;
    }

private:
    std::vector<std::string> _packets;
    std::size_t _next = 0;
};

std::vector<std::string> linesOf(const std::vector<std::string>& packets)
{
    Packets stream(packets);
    buffer::CharReader reader(stream);
    std::vector<std::string> lines;
    try {
        for (;;) {
            lines.push_back(reader.readLine());
        }
    } catch (const IOException&) { // the end
    }
    return lines;
}

} // namespace

TEST(ByteBuffer, AppendsLittleEndian)
{
    buffer::ByteBuffer<64> buffer;
    buffer.append(std::byte{0xAB});
    buffer.append(std::uint16_t{0x0102});
    buffer.append(std::int32_t{-2});
    buffer.append(1.0F);
    buffer.append(-2.0);
    buffer.append("RDO");
    EXPECT_EQ(toHex(buffer.bytes()),
              "AB 02 01 FE FF FF FF 00 00 80 3F 00 00 00 00 00 00 00 C0 52 44 4F");
    buffer.clear();
    EXPECT_EQ(buffer.size(), 0U);
}

TEST(ByteBuffer, RefusesWhatDoesNotFitAsAWhole)
{
    buffer::ByteBuffer<5> buffer;
    buffer.append(std::int32_t{1});
    EXPECT_EQ(thrown<IOException>([&] { buffer.append(std::int16_t{2}); }),
              "Not enough free space in buffer.");
    EXPECT_EQ(buffer.size(), 4U);
    buffer.append(std::int8_t{3});
    EXPECT_EQ(toHex(buffer.bytes()), "01 00 00 00 03");
}

TEST(CharReader, FindsLinesHoweverTheyArrive)
{
    struct Case
    {
        const char* what;
        std::vector<std::string> packets;
        std::vector<std::string> lines;
    };

    const std::string full(1023, 'x');
    const Case cases[] = {
        {"the three line ends", {"a\rb\nc\r\nd\n"}, {"a", "b", "c", "d"}},
        {"byte by byte", {"a", "\r", "\n", "b", "\n"}, {"a", "b"}},
        {"CR ends a packet, LF begins the next", {"a\r", "\nb\r", "\n"}, {"a", "b"}},
        {"empty lines count", {"\r\n\r\n\n\na\r\r"}, {"", "", "", "", "a", ""}},
        {"LF CR is two line ends", {"a\n\rb\n"}, {"a", "", "b"}},
        {"a last line without an end is not a line", {"a\nb"}, {"a"}},
        {"1023 characters fit", {full + "\r\n", "b\n"}, {full, "b"}},
        {"1024 are cut once", {full + "y\r\nb\n"}, {full, "b"}},
        {"a long line is answered once",
         {full, std::string(1000000, 'y') + "\r", "\nb\n"},
         {full, "b"}},
        {"and at once, without its end", {full + "y"}, {full}},
        {"two long ones", {full + full + "\n" + full + full + "\rb\n"}, {full, full, "b"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(linesOf(c.packets), c.lines);
    }
}

TEST(CharReader, LeavesNothingToTheNextClient)
{
    const std::string cut(2000, 'x');
    for (const std::string& before : {std::string("a\nrest"), std::string("a\r"), cut}) {
        Packets stream({before, "\nb\n"});
        buffer::CharReader reader(stream);
        (void)reader.readLine();
        reader.clear();
        // What is still in the stream belongs to it; only the reader's own memory is at stake.
        std::string line = reader.readLine();
        if (before == cut) {
            EXPECT_EQ(line, std::string(976, 'x')) << "not dropped as the rest of a cut line";
        } else {
            EXPECT_EQ(line, "") << "neither a rest nor the memory of a CR";
        }
    }
}
