#include "image/Binarization.h"
#include "image/Image.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Binarization of one 640 x 480 picture, beside the plainest loop that does the same.

namespace {

using tarvik::image::ByteWindow;
using tarvik::image::Image;

constexpr std::uint16_t WIDTH = 640;
constexpr std::uint16_t HEIGHT = 480;

/// Bright discs on a dark ground with noise: what a threshold meets, and hard to predict.
Image picture(unsigned seed)
{
    std::mt19937 random(seed);
    Image image(WIDTH, HEIGHT);
    for (int y = 0; y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) {
            const int dx = x % 128 - 64;
            const int dy = y % 120 - 60;
            const unsigned base = dx * dx + dy * dy < 45 * 45 ? 170 : 60;
            image.data()[y * WIDTH + x] = static_cast<std::uint8_t>(base + random() % 80);
        }
    }
    return image;
}

bool inInterval(std::uint8_t v, std::uint8_t low, std::uint8_t high)
{
    return low <= v && v <= high;
}

void greyPlain(benchmark::State& state)
{
    const Image grey = picture(1);
    Image binary(WIDTH, HEIGHT);
    std::uint8_t low = 128;
    bool invert = false;
    benchmark::DoNotOptimize(low);
    benchmark::DoNotOptimize(invert);
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < grey.pixelCount(); ++i) {
            const bool inside = inInterval(grey.data()[i], low, 255);
            binary.data()[i] = (inside && !invert) || (!inside && invert) ? 255 : 0;
        }
        benchmark::ClobberMemory();
    }
}

void greyKernel(benchmark::State& state)
{
    const Image grey = picture(1);
    Image binary(WIDTH, HEIGHT);
    for ([[maybe_unused]] auto _ : state) {
        tarvik::image::binarize(grey.bytes(), ByteWindow::interval(128, 255), binary.bytes());
        benchmark::ClobberMemory();
    }
}

void hsvPlain(benchmark::State& state)
{
    const Image h = picture(1);
    const Image s = picture(2);
    const Image v = picture(3);
    Image binary(WIDTH, HEIGHT);
    std::uint8_t low = 200;
    std::uint8_t high = 90;
    benchmark::DoNotOptimize(low);
    benchmark::DoNotOptimize(high);
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < binary.pixelCount(); ++i) {
            const bool hue = h.data()[i] >= low || h.data()[i] <= high;
            const bool inside =
                hue && inInterval(s.data()[i], 64, 196) && inInterval(v.data()[i], 64, 196);
            binary.data()[i] = inside ? 255 : 0;
        }
        benchmark::ClobberMemory();
    }
}

void hsvKernel(benchmark::State& state)
{
    const Image h = picture(1);
    const Image s = picture(2);
    const Image v = picture(3);
    Image binary(WIDTH, HEIGHT);
    const std::array windows{ByteWindow::wrapping(200, 90), ByteWindow::interval(64, 196),
                             ByteWindow::interval(64, 196)};
    for ([[maybe_unused]] auto _ : state) {
        tarvik::image::binarize({h.bytes(), s.bytes(), v.bytes()}, windows, false, binary.bytes());
        benchmark::ClobberMemory();
    }
}

void neighboursPlain(benchmark::State& state)
{
    const Image grey = picture(1);
    Image codes(WIDTH, HEIGHT);
    std::uint8_t low = 128;
    benchmark::DoNotOptimize(low);
    constexpr std::array<int, 8> OFFSETS{-WIDTH - 1, -WIDTH, -WIDTH + 1, 1,
                                         WIDTH + 1,  WIDTH,  WIDTH - 1,  -1};
    for ([[maybe_unused]] auto _ : state) {
        for (int y = 1; y + 1 < HEIGHT; ++y) {
            for (int x = 1; x + 1 < WIDTH; ++x) {
                const std::uint8_t* const pixel = grey.data() + y * WIDTH + x;
                int code = 0;
                if (inInterval(*pixel, low, 255)) {
                    for (std::size_t k = 0; k < OFFSETS.size(); ++k) {
                        code |= inInterval(pixel[OFFSETS[k]], low, 255) ? 1 << k : 0;
                    }
                }
                codes.data()[y * WIDTH + x] = static_cast<std::uint8_t>(code == 255 ? 0 : code);
            }
        }
        benchmark::ClobberMemory();
    }
}

void neighboursKernel(benchmark::State& state)
{
    const Image grey = picture(1);
    Image codes;
    tarvik::image::NeighbourEncoder encoder;
    for ([[maybe_unused]] auto _ : state) {
        encoder.encode(grey, ByteWindow::interval(128, 255), codes);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(greyPlain)->Unit(benchmark::kMicrosecond);
BENCHMARK(greyKernel)->Unit(benchmark::kMicrosecond);
BENCHMARK(hsvPlain)->Unit(benchmark::kMicrosecond);
BENCHMARK(hsvKernel)->Unit(benchmark::kMicrosecond);
BENCHMARK(neighboursPlain)->Unit(benchmark::kMicrosecond);
BENCHMARK(neighboursKernel)->Unit(benchmark::kMicrosecond);

} // namespace
