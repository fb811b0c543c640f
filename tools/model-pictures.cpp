#include "PictureFile.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "camera/CameraImpl.h"
#include "image/Image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

/// Takes one picture of every kind that the camera models deliver, for docs/operating.md; called
/// by scripts/model-pictures.

namespace {

using namespace tarvik;
using camera::CameraConfiguration;
using image::Image;

constexpr int WIDTH = 240;
constexpr int HEIGHT = 240;
constexpr int GAP = 4;

/// What one model delivers of the first picture of the scene.
struct Taken
{
    Image original;
    Image binary;
};

Taken take(const char* model, CameraConfiguration config)
{
    using Driver = std::unique_ptr<camera::CameraImpl, camera::DriverDeleter>;
    config.setImplementation(camera::CameraFactory::instance().find(model));
    const Driver driver(camera::CameraFactory::instance().create(config.implementation()));
    driver->setConfig(config);
    driver->update(true);
    driver->open();
    Image* original = nullptr;
    Image* binary = nullptr;
    driver->getImages(&original, &binary);
    Taken taken{*original, *binary};
    driver->releaseImage();
    return taken;
}

/// A part of one plane, around the point, this many times as large.
Image cutOut(const Image& picture, std::size_t plane, int x0, int y0, int scale)
{
    Image result(WIDTH, HEIGHT);
    const std::uint8_t* const pixels = picture.data() + picture.pixelCount() * plane;
    for (int y = 0; y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) {
            const int row = y0 + (y - HEIGHT / 2) / scale;
            const int column = x0 + (x - WIDTH / 2) / scale;
            result.data()[y * WIDTH + x] = pixels[row * picture.width() + column];
        }
    }
    return result;
}

Image sideBySide(const std::vector<Image>& pictures)
{
    const int count = static_cast<int>(pictures.size());
    const int width = count * (WIDTH + GAP) - GAP;
    Image result(static_cast<std::uint16_t>(width), HEIGHT);
    std::ranges::fill(result.bytes(), std::uint8_t{255});
    for (int i = 0; i < count; ++i) {
        for (int y = 0; y < HEIGHT; ++y) {
            std::copy_n(pictures[static_cast<std::size_t>(i)].data() + y * WIDTH, WIDTH,
                        result.data() + y * width + i * (WIDTH + GAP));
        }
    }
    return result;
}

void write(const std::filesystem::path& folder, const std::string& name, const Image& picture)
{
    const std::filesystem::path file = folder / ("model-" + name + ".png");
    lab::writePng(file, picture);
    std::cout << file.string() << '\n';
}

void writeAll(const std::filesystem::path& folder)
{
    // Here the first picture of the scene has parts of three kinds.
    constexpr int X = 180;
    constexpr int Y = 160;
    const Taken grey = take("R1B (640x480)", {});
    write(folder, "grey",
          sideBySide({cutOut(grey.original, 0, X, Y, 1), cutOut(grey.binary, 0, X, Y, 1)}));

    CameraConfiguration yellow;
    yellow.lowerValH = 25;
    yellow.greaterValH = 55;
    yellow.greaterValS = 255;
    yellow.lowerValV = 128;
    yellow.greaterValV = 255;
    const Taken colour = take("R1C (640x480)", yellow);
    write(folder, "hsv",
          sideBySide({cutOut(colour.original, 0, X, Y, 1), cutOut(colour.original, 1, X, Y, 1),
                      cutOut(colour.original, 2, X, Y, 1), cutOut(colour.binary, 0, X, Y, 1)}));

    const Taken code = take("NeighboursSBO (640x480)", {});
    write(folder, "contour-code",
          sideBySide({cutOut(code.original, 0, 180, 237, 3), cutOut(code.binary, 0, 180, 237, 3)}));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "Usage: model-pictures FOLDER\n";
        return 2;
    }
    try {
        writeAll(argv[1]);
    } catch (const std::exception& e) {
        std::cerr << "model-pictures: " << e.what() << '\n';
        return 1;
    }
    return 0;
}
