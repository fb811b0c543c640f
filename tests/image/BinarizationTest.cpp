#include "image/Binarization.h"

#include "image/Image.h"
#include "image/Words.h"
#include "support/Pictures.h"

#include <gmock/gmock.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace tarvik::image {

namespace {

std::vector<std::uint8_t> randomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

TEST(ByteWindowTest, ContainsWhatItsBoundsSay)
{
    for (int low = 0; low < 256; ++low) {
        for (int high = 0; high < 256; ++high) {
            const auto l = static_cast<std::uint8_t>(low);
            const auto h = static_cast<std::uint8_t>(high);
            const ByteWindow interval = ByteWindow::interval(l, h);
            const ByteWindow hues = ByteWindow::wrapping(l, h);
            int wrong = 0;
            for (int v = 0; v < 256; ++v) {
                const auto byte = static_cast<std::uint8_t>(v);
                const bool between = low <= v && v <= high;
                const bool hue = low <= high ? between : v >= low || v <= high;
                wrong += interval.contains(byte) != between;
                wrong += interval.inverted(true).contains(byte) == between;
                wrong += hues.contains(byte) != hue;
            }
            ASSERT_EQ(wrong, 0) << low << " to " << high;
        }
    }
}

TEST(WordsTest, TestEveryByteAgainstEveryWindow)
{
    for (int low = 0; low < 256; ++low) {
        for (int high = 0; high < 256; ++high) {
            const ByteWindow window = ByteWindow::wrapping(static_cast<std::uint8_t>(low),
                                                           static_cast<std::uint8_t>(high))
                                          .inverted(high % 2 == 0);
            const words::WindowTest test(window);
            std::array<std::uint8_t, sizeof(words::Word)> bytes{};
            std::array<std::uint8_t, sizeof(words::Word)> inside{};
            int wrong = 0;
            for (int v = 0; v < 256; v += 4) {
                for (std::size_t i = 0; i < bytes.size(); ++i) { // neighbours far from each other
                    bytes[i] = static_cast<std::uint8_t>(v + static_cast<int>(i) * 89);
                }
                words::store(inside.data(), test.inside(words::load(bytes.data())));
                for (std::size_t i = 0; i < bytes.size(); ++i) {
                    wrong += inside[i] != (window.contains(bytes[i]) ? 255 : 0);
                }
            }
            ASSERT_EQ(wrong, 0) << low << " to " << high;
        }
    }
}

TEST(BinarizationTest, AgreesWithItsWindowAtEveryLength)
{
    const auto grey = randomBytes(200, 1);
    const ByteWindow windows[] = {ByteWindow::interval(0, 255), ByteWindow::interval(200, 100),
                                  ByteWindow::interval(77, 77), ByteWindow::interval(50, 180),
                                  ByteWindow::wrapping(200, 20)};
    for (const ByteWindow& plain : windows) {
        for (const bool invert : {false, true}) {
            const ByteWindow window = plain.inverted(invert);
            for (std::size_t size = 0; size <= grey.size(); ++size) {
                std::vector<std::uint8_t> binary(size);
                binarize(std::span(grey).first(size), window, binary);
                for (std::size_t i = 0; i < size; ++i) {
                    ASSERT_EQ(binary[i], window.contains(grey[i]) ? 255 : 0) << i << "/" << size;
                }
            }
        }
    }
}

TEST(BinarizationTest, CombinesThreePlanes)
{
    std::mt19937 random(2);
    const auto bound = [&] { return static_cast<std::uint8_t>(random()); };
    for (std::size_t size = 0; size < 150; ++size) {
        const auto h = randomBytes(size, 3);
        const auto s = randomBytes(size, 4);
        const auto v = randomBytes(size, 5);
        const std::array windows{ByteWindow::wrapping(bound(), bound()),
                                 ByteWindow::interval(bound(), bound()),
                                 ByteWindow::interval(bound(), bound())};
        const bool invert = size % 2 == 0;
        std::vector<std::uint8_t> binary(size);
        binarize({h, s, v}, windows, invert, binary);
        for (std::size_t i = 0; i < size; ++i) {
            const bool inside =
                windows[0].contains(h[i]) && windows[1].contains(s[i]) && windows[2].contains(v[i]);
            ASSERT_EQ(binary[i], inside != invert ? 255 : 0) << i << "/" << size;
        }
    }
}

TEST(BinarizationTest, CombinesBinaryPictures)
{
    const auto plane = randomBytes(100, 6);
    for (std::size_t size = 0; size <= plane.size(); ++size) {
        const auto before = randomBytes(size, 7);
        auto both = before;
        intersect(both, std::span(plane).first(size));
        auto either = before;
        unite(either, std::span(plane).first(size));
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_EQ(both[i], before[i] & plane[i]);
            ASSERT_EQ(either[i], before[i] | plane[i]);
        }
    }
}

std::vector<int> codesOf(const Image& grey, ByteWindow window = ByteWindow::interval(128, 255))
{
    NeighbourEncoder encoder;
    Image codes;
    encoder.encode(grey, window, codes);
    return {codes.bytes().begin(), codes.bytes().end()};
}

TEST(NeighbourEncoderTest, GivesContourPixelsTheirNeighbours)
{
    const Image square = test::drawn({".....", ".###.", ".###.", ".###.", "....."});
    EXPECT_EQ(codesOf(square), (std::vector{0, 0,  0,   0,   0, //
                                            0, 56, 248, 224, 0, //
                                            0, 62, 0,   227, 0, //
                                            0, 14, 143, 131, 0, //
                                            0, 0,  0,   0,   0}));
}

TEST(NeighbourEncoderTest, AgreesWithItsDefinition)
{
    struct Offset
    {
        int x;
        int y;
    };

    constexpr Offset CLOCKWISE[] = {{-1, -1}, {0, -1}, {1, -1}, {1, 0},
                                    {1, 1},   {0, 1},  {-1, 1}, {-1, 0}};
    std::mt19937 random(8);
    for (int round = 0; round < 40; ++round) {
        const int width = 1 + static_cast<int>(random() % 50);
        const int height = 1 + static_cast<int>(random() % 12);
        const Image grey = test::randomGrey(random, width, height);
        const ByteWindow window = ByteWindow::interval(60, 250).inverted(round % 4 == 0);
        const std::vector<int> codes = codesOf(grey, window);
        const auto foreground = [&](int x, int y) {
            return window.contains(grey.data()[y * width + x]);
        };
        for (int i = 0; i < width * height; ++i) {
            const int x = i % width;
            const int y = i / width;
            int expected = 0;
            const bool edge = x == 0 || y == 0 || x == width - 1 || y == height - 1;
            if (!edge && foreground(x, y)) {
                for (int k = 0; k < 8; ++k) {
                    expected |= foreground(x + CLOCKWISE[k].x, y + CLOCKWISE[k].y) ? 1 << k : 0;
                }
            }
            ASSERT_EQ(codes[static_cast<std::size_t>(i)], expected == 255 ? 0 : expected)
                << x << ", " << y << " of " << width << " x " << height;
        }
    }
}

} // namespace

} // namespace tarvik::image
