#include "PlainBinarization.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "camera/CameraImpl.h"
#include "core/logging/LogManager.h"
#include "image/Binarization.h"
#include "image/Image.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

// Images per second that each camera model's driver delivers while somebody watches, so that the
// program binarizes; beside that, the rate if the binarization were the plain loop.
//
// The driver shows a test image: the drawing of the simulated sensor, which would take most of the
// time, is none of its work. The plain rate is that of the driver with the time of the plain loop
// on the same image in place of its kernel's.

namespace {

using namespace tarvik;
using camera::CameraConfiguration;
using image::ByteWindow;
using image::Image;

using Driver = std::unique_ptr<camera::CameraImpl, camera::DriverDeleter>;

/// Microseconds of the processor that this thread has had.
double processorTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// Median of a call's processor times in microseconds, so that other programs do not count.
template <class Call>
double medianTime(Call call)
{
    constexpr int RUNS = 301;
    std::vector<double> times;
    for (int i = 0; i < RUNS; ++i) {
        const double start = processorTime();
        call();
        times.push_back(processorTime() - start);
    }
    std::ranges::nth_element(times, times.begin() + RUNS / 2);
    return times[RUNS / 2];
}

/// Bright discs on a dark ground with noise, in each plane.
void draw(Image& picture)
{
    std::mt19937 random(1);
    for (std::size_t i = 0; i < picture.byteCount(); ++i) {
        const int dx = static_cast<int>(i % picture.width() % 128) - 64;
        const int dy = static_cast<int>(i / picture.width() % 120) - 60;
        const unsigned base = dx * dx + dy * dy < 45 * 45 ? 170 : 60;
        picture.data()[i] = static_cast<std::uint8_t>(base + random() % 80);
    }
}

/// One way to binarize like a model's driver, and the other.
struct Ways
{
    std::function<void()> kernel;
    std::function<void()> plain;
};

Ways colourWays(const CameraConfiguration& c, const Image& picture, Image& binary)
{
    const std::size_t size = picture.pixelCount();
    const image::Planes planes{picture.bytes().first(size), picture.bytes().subspan(size, size),
                               picture.bytes().last(size)};
    return {[=, &binary] {
                image::binarize(planes,
                                {ByteWindow::wrapping(c.lowerValH, c.greaterValH),
                                 ByteWindow::interval(c.lowerValS, c.greaterValS),
                                 ByteWindow::interval(c.lowerValV, c.greaterValV)},
                                c.invert, binary.bytes());
            },
            [=, &binary] {
                bench::binarizePlainly(planes[0].data(), planes[1].data(), planes[2].data(),
                                       {{{c.lowerValH, c.greaterValH},
                                         {c.lowerValS, c.greaterValS},
                                         {c.lowerValV, c.greaterValV}}},
                                       c.invert, binary);
            }};
}

Ways waysOf(const std::string& model, const CameraConfiguration& c, const Image& picture,
            Image& binary)
{
    const bench::Bounds window{c.thresholdLow, c.thresholdHigh};
    if (picture.channels() == 3) {
        return colourWays(c, picture, binary);
    }
    if (model.starts_with("Neighbours")) {
        const auto encoder = std::make_shared<image::NeighbourEncoder>();
        return {[=, &picture, &binary] { encoder->encode(picture, c.greyWindow(), binary); },
                [=, &picture, &binary] { bench::encodePlainly(picture, window, binary); }};
    }
    return {[=, &picture, &binary] {
                image::binarize(picture.bytes(), c.greyWindow(), binary.bytes());
            },
            [=, &picture, &binary] { bench::binarizePlainly(picture, window, c.invert, binary); }};
}

void measure(const camera::CameraFactory::Implementation& model)
{
    CameraConfiguration config;
    config.setImplementation(&model);
    const Driver driver(camera::CameraFactory::instance().create(&model));
    driver->setConfig(config);
    driver->update(true);
    driver->open();
    Image picture = driver->isColored() ? Image(driver->imageWidth(), driver->imageHeight(), 3,
                                                image::Format::Planar, image::ColorSpace::HSV)
                                        : Image(driver->imageWidth(), driver->imageHeight());
    draw(picture);
    driver->setSource(&picture);
    const double driven = medianTime([&] {
        Image* original = nullptr;
        Image* binary = nullptr;
        driver->getImages(&original, &binary);
        driver->releaseImage();
    });
    Image binary(picture.width(), picture.height());
    const Ways ways = waysOf(model.name(), config, picture, binary);
    const double kernel = medianTime(ways.kernel);
    const double plain = medianTime(ways.plain);
    const double before = driven - kernel + plain;
    std::printf("%-26s %10.0f %10.0f %8.1f   %8.1f\n", model.name().c_str(), 1e6 / driven,
                1e6 / before, before / driven, plain / kernel);
}

} // namespace

int main()
{
    ::setenv("OCAMERA_FPS", "0", 1); // no thread runs yet
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    std::puts("                             images/s   images/s    ratio      ratio of the\n"
              "model                       delivered    plainly           binarizations");
    for (const auto& model : camera::CameraFactory::instance().implementations()) {
        measure(*model);
    }
}
