#include "Samples.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/BufferedInputStream.h"
#include "io/stream/BufferedOutputStream.h"
#include "io/stream/MemoryInputStream.h"
#include "io/stream/MemoryOutputStream.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using namespace tarvik;
using namespace tarvik::io;
using namespace tarvik::io::serialization;
using namespace tarvik::test;

namespace {

using Encoder = BinaryEncoder<stream::MemoryOutputStream>;
using Decoder = BinaryDecoder<stream::MemoryInputStream>;

template <class F>
std::string encoded(const F& wrapper)
{
    stream::MemoryOutputStream out;
    Encoder encoder(out);
    encoder& wrapper;
    return toHex(out.bytes());
}

template <class F>
void decode(const std::string& hex, const F& wrapper)
{
    const auto bytes = fromHex(hex);
    stream::MemoryInputStream in(bytes);
    Decoder decoder(in);
    decoder& wrapper;
    EXPECT_EQ(in.bytesAvailable(), 0U) << "not read to the end: " << hex;
}

template <class T>
void checkBothWays(const std::string& hex, const T& value)
{
    SCOPED_TRACE(hex);
    EXPECT_EQ(encoded(field("V", value)), hex);
    T read{};
    decode(hex, field("V", read));
    EXPECT_EQ(read, value);
}

/// Hands out at most a few bytes per read, as a network may.
class SlowInput : public stream::InputStream<SlowInput>
{
public:
    SlowInput(std::span<const std::byte> bytes, std::size_t step) : _in(bytes), _step(step) {}

    std::size_t readSomeImpl(std::span<std::byte> bytes)
    {
        return _in.readSome(bytes.first(std::min(_step, bytes.size())));
    }

private:
    stream::MemoryInputStream _in;
    std::size_t _step;
};

/// Notes how many bytes each write brought.
class CountingOutput : public stream::OutputStream<CountingOutput>
{
public:
    void writeImpl(std::span<const std::byte> bytes)
    {
        sizes.push_back(bytes.size());
        content.write(bytes);
    }

    void flushImpl() {}

    std::vector<std::size_t> sizes;
    stream::MemoryOutputStream content;
};

} // namespace

TEST(BinaryCoder, WritesAndReadsEveryKindOfValue)
{
    checkBothWays<bool>("01", true);
    checkBothWays<bool>("00", false);
    checkBothWays<char>("FE", static_cast<char>(0xFE));
    checkBothWays<std::int8_t>("80", -128);
    checkBothWays<std::uint8_t>("C8", 200);
    checkBothWays<std::int16_t>("FE FF", -2);
    checkBothWays<std::uint16_t>("1D 1D", 7453);
    checkBothWays<std::int32_t>("04 03 02 01", 0x01020304);
    checkBothWays<std::uint32_t>("FF FF FF FF", 0xFFFFFFFFU);
    checkBothWays<std::int64_t>("FE FF FF FF FF FF FF FF", -2);
    checkBothWays<std::uint64_t>("08 07 06 05 04 03 02 81", 0x8102030405060708U);
    checkBothWays<Colour>("02 00 00 00", Colour::Blue);
    checkBothWays(std::string("00 80"), fp<16, 15>(-32768));
    checkBothWays(std::string("00 C0 00 00"), fp<32, 15>(49152));
    checkBothWays(std::string("01 00 FF FF"), Complex<16, 14>::fromRaw(1, -1));
    checkBothWays(std::string("01 00 00 00 FE FF FF FF"), Complex<32, 21>::fromRaw(1, -2));
    checkBothWays<std::string>("06 00 00 00 53 65 72 76 65 72", "Server");
    checkBothWays<std::string>("00 00 00 00", "");
    checkBothWays("02 01", Inner{0x0102});
    checkBothWays("01 FE C8 FE FF 1D 1D 00 6C CA 88 00 28 6B EE 00 0E FA D5 FE FF FF FF "
                  "01 00 00 00 00 00 00 F0 02 00 00 00 00 C0 00 00 00 20 00 40 00 E0 "
                  "00 80 FF FF 00 80 01 00 06 00 00 00 53 65 72 76 65 72 07 00 "
                  "01 00 00 00 00 10 00 F0 02 00 00 00 01 00 FF FF",
                  sampleEverything());
    bool anyByteButZero = false;
    decode("80", field("V", anyByteButZero));
    EXPECT_TRUE(anyByteButZero);
}

TEST(BinaryCoder, EndsATextAtItsFirstZeroByte)
{
    std::string text = "old";
    decode("05 00 00 00 41 42 00 43 44", field("V", text));
    EXPECT_EQ(text, "AB");
    const std::string embedded("AB\0CD", 5);
    EXPECT_EQ(encoded(field("V", embedded)), "02 00 00 00 41 42");
}

TEST(BinaryCoder, RefusesTextsBeyondTheirLimitBeforeReadingThem)
{
    struct Case
    {
        const char* what;
        const char* length;
        const char* error;
    };

    constexpr Case cases[] = {
        {"at the limit: goes on to read them", "04 00 00 00", "Couldn't read data."},
        {"above", "05 00 00 00", "Invalid text length in <Name>: 5. Allowed: 0 to 4."},
        {"negative", "FF FF FF FF", "Invalid text length in <Name>: -1. Allowed: 0 to 4."},
        {"huge", "FF FF FF 7F", "Invalid text length in <Name>: 2147483647. Allowed: 0 to 4."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string value = "kept";
        EXPECT_EQ(thrown<IOException>([&] { decode(c.length, text("Name", value, 4)); }), c.error);
    }
    std::string value;
    EXPECT_EQ(thrown<IOException>([&] { decode("00 00 01 00", field("Name", value)); }),
              "Invalid text length in <Name>: 65536. Allowed: 0 to 65535.");
}

TEST(BinaryCoder, RefusesArraySizesOutsideTheirRangeBeforeAllocating)
{
    struct Case
    {
        const char* size;
        const char* error;
    };

    constexpr Case cases[] = {
        {"00 00 00 00", "Invalid count in <Points>: 0. Allowed: 1 to 3."},
        {"01 00 00 00 05 00", "(nothing thrown)"},
        {"03 00 00 00 01 00 02 00 03 00", "(nothing thrown)"},
        {"03 00 00 00 01 00 02 00", "Couldn't read data."},
        {"04 00 00 00", "Invalid count in <Points>: 4. Allowed: 1 to 3."},
        {"FF FF FF FF", "Invalid count in <Points>: -1. Allowed: 1 to 3."},
        {"FF FF FF 7F", "Invalid count in <Points>: 2147483647. Allowed: 1 to 3."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.size);
        std::vector<std::int16_t> values;
        EXPECT_EQ(thrown<IOException>([&] { decode(c.size, array("Points", values, 1, 3)); }),
                  c.error);
        EXPECT_LE(values.capacity(), 3U);
    }
}

TEST(BinaryCoder, FillsAFixedArrayOnlyWithExactlyItsSize)
{
    std::array<std::int16_t, 2> values{};
    decode("02 00 00 00 01 00 02 00", array("Values", values, 0, 9));
    EXPECT_EQ(values[1], 2);
    EXPECT_EQ(thrown<SerializationException>(
                  [&] { decode("01 00 00 00", array("Values", values, 0, 9)); }),
              "Invalid count in <Values>: 1. Allowed: 2 to 2.");
}

TEST(BinaryCoder, StoresAnImplementationAsItsName)
{
    const ShapeFactory factory;
    const util::Factory<Shape>::Implementation* chosen = factory.find("Square");
    EXPECT_EQ(encoded(choice("Shape", factory, chosen)), "06 00 00 00 53 71 75 61 72 65");
    decode("06 00 00 00 43 69 72 63 6C 65", choice("Shape", factory, chosen));
    EXPECT_EQ(chosen, factory.find("Circle"));
    EXPECT_EQ(thrown<SerializationException>(
                  [&] { decode("02 00 00 00 4F 0A", choice("Shape", factory, chosen)); }),
              "Unknown implementation in <Shape>: 'O?'. Known: 'Circle', 'Square'.");
    EXPECT_EQ(chosen, factory.find("Circle")) << "the refused name must not change the choice";
    chosen = nullptr;
    EXPECT_EQ(encoded(choice("Shape", factory, chosen)), "06 00 00 00 43 69 72 63 6C 65");
}

TEST(BinaryCoder, ReadsWhatArrivesInPieces)
{
    stream::MemoryOutputStream out;
    Encoder encoder(out);
    const Everything sample = sampleEverything();
    const std::vector<std::int32_t> large(1000, 0x01020304);
    encoder& field("Sample", sample) & array("Large", large, 0, 1000) & field("Sample", sample);
    for (const std::size_t step : {std::size_t{1}, std::size_t{3}, std::size_t{5000}}) {
        SCOPED_TRACE(step);
        SlowInput socket(out.bytes(), step);
        stream::BufferedInputStream buffered(socket);
        BinaryDecoder decoder(buffered);
        Everything first;
        Everything last;
        std::vector<std::int32_t> values;
        decoder& field("Sample", first) & array("Large", values, 0, 1000) & field("Sample", last);
        EXPECT_EQ(first, sample);
        EXPECT_EQ(values, large);
        EXPECT_EQ(last, sample);
    }
}

TEST(BufferedOutputStream, GathersWritesAndSplitsThemAtItsCapacity)
{
    struct Case
    {
        const char* what;
        std::vector<std::size_t> writes;
        std::vector<std::size_t> sent;    ///< before the flush
        std::vector<std::size_t> flushed; ///< by the flush
    };

    const Case cases[] = {
        {"nothing", {}, {}, {}},
        {"small ones wait", {4, 10}, {}, {14}},
        {"exactly full waits", {4, 1020}, {}, {1024}},
        {"one more byte sends the full buffer", {4, 1020, 1}, {1024}, {1}},
        {"a block that spans two buffers", {1000, 100}, {1024}, {76}},
        {"a large block leaves directly", {24, 5000}, {1024, 3072}, {928}},
        {"a multiple of the capacity keeps the last buffer", {4096}, {1024, 2048}, {1024}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CountingOutput socket;
        stream::BufferedOutputStream out(socket);
        std::vector<std::byte> expected;
        for (const std::size_t size : c.writes) {
            std::vector<std::byte> block(size);
            for (std::byte& b : block) {
                b = static_cast<std::byte>(expected.size() % 251);
                expected.push_back(b);
            }
            out.write(block);
        }
        EXPECT_EQ(socket.sizes, c.sent);
        socket.sizes.clear();
        out.flush();
        EXPECT_EQ(socket.sizes, c.flushed);
        EXPECT_EQ(toHex(socket.content.bytes()), toHex(expected));
    }
}
