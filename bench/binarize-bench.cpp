#include "PlainBinarization.h"
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

using tarvik::bench::Bounds;
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

void greyPlain(benchmark::State& state)
{
    const Image grey = picture(1);
    Image binary(WIDTH, HEIGHT);
    Bounds window{128, 255};
    bool invert = false;
    benchmark::DoNotOptimize(window);
    benchmark::DoNotOptimize(invert);
    for ([[maybe_unused]] auto _ : state) {
        tarvik::bench::binarizePlainly(grey, window, invert, binary);
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
    std::array<Bounds, 3> windows{{{200, 90}, {64, 196}, {64, 196}}};
    benchmark::DoNotOptimize(windows);
    for ([[maybe_unused]] auto _ : state) {
        tarvik::bench::binarizePlainly(h.data(), s.data(), v.data(), windows, false, binary);
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
    Bounds window{128, 255};
    benchmark::DoNotOptimize(window);
    for ([[maybe_unused]] auto _ : state) {
        tarvik::bench::encodePlainly(grey, window, codes);
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
