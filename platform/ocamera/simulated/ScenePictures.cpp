#include "ocamera/simulated/Scene.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Writes pictures of the synthetic scene to files, for teaching and for documents.

namespace {

using namespace OCamera::simulated;

struct Options
{
    std::string part;
    int frames = 0;
    std::uint32_t first = 0;
    std::filesystem::path folder;
    std::pair<int, int> size{640, 480};
    double angle = 0;
    bool colour = false;
    SceneOptions scene;
};

std::string kindNames()
{
    std::string names;
    for (const Kind kind : KINDS) {
        names += std::string(names.empty() ? "" : ", ") + std::string(shapeOf(kind).name);
    }
    return names;
}

CLI::Validator pictureSize()
{
    return CLI::Validator(
        [](std::string& text) {
            int width = 0;
            int height = 0;
            char x = 0;
            std::istringstream in(text);
            in >> width >> x >> height;
            const bool good = in && in.eof() && x == 'x' && width >= 64 && width <= 8192 &&
                              height >= 64 && height <= 8192;
            text = good ? std::to_string(width) + " " + std::to_string(height) : text;
            return good ? std::string()
                        : "'" + text + "' is no picture size; write WxH, 64 to 8192, like 640x480";
        },
        "WxH");
}

void write(const std::filesystem::path& stem, const Options& options,
           const std::vector<std::uint8_t>& picture)
{
    std::filesystem::path path = stem;
    path += options.colour ? ".ppm" : ".pgm";
    std::ofstream file(path, std::ios::binary);
    file << (options.colour ? "P6\n" : "P5\n") << options.size.first << ' ' << options.size.second
         << "\n255\n";
    file.write(reinterpret_cast<const char*>(picture.data()),
               static_cast<std::streamsize>(picture.size()));
    if (!file.flush()) {
        throw std::runtime_error("Could not write '" + path.string() + "'.");
    }
    std::cout << path.string() << '\n';
}

std::vector<std::uint8_t> emptyPicture(const Options& options)
{
    return std::vector<std::uint8_t>(static_cast<std::size_t>(options.size.first) *
                                     static_cast<std::size_t>(options.size.second) *
                                     (options.colour ? 3 : 1));
}

void writeParts(const Options& options, Scene& scene)
{
    std::vector<std::uint8_t> picture = emptyPicture(options);
    const auto turn = static_cast<std::uint16_t>(
        static_cast<std::int64_t>(options.angle * FULL_TURN / 360) & (FULL_TURN - 1));
    for (const Kind kind : KINDS) {
        const std::string name(shapeOf(kind).name);
        if (options.part != "all" && options.part != name) {
            continue;
        }
        const auto [width, height] = options.size;
        if (options.colour) {
            scene.rgbPartAlone(kind, turn, width, height, picture);
        } else {
            scene.greyPartAlone(kind, turn, width, height, picture);
        }
        write(options.folder / name, options, picture);
    }
}

void writeFrames(const Options& options, Scene& scene)
{
    std::vector<std::uint8_t> picture = emptyPicture(options);
    for (int i = 0; i < options.frames; ++i) {
        const std::uint32_t frame = options.first + static_cast<std::uint32_t>(i);
        const auto [width, height] = options.size;
        if (options.colour) {
            scene.rgb(frame, width, height, picture);
        } else {
            scene.grey(frame, width, height, picture);
        }
        std::string number = std::to_string(frame);
        number.insert(0, number.size() < 6 ? 6 - number.size() : 0, '0');
        write(options.folder / ("frame-" + number), options, picture);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app{"Writes pictures of the simulated camera's synthetic scene, as PGM or PPM files.\n"
                 "\n"
                 "  scene-pictures --part all --out parts       one picture of every kind of part\n"
                 "  scene-pictures --frames 100 --out belt      the first 100 frames of the belt\n"
                 "\n"
                 "The same options give the same pictures on every machine. A folder of them can\n"
                 "be played by the simulated camera: OCAMERA_SCENE=belt\n"};
    auto* what = app.add_option_group("what to draw");
    what->add_option("--part", options.part,
                     "one part alone in the middle: " + kindNames() + ", or all")
        ->type_name("KIND")
        ->check([](const std::string& name) {
            for (const Kind kind : KINDS) {
                if (name == "all" || name == shapeOf(kind).name) {
                    return std::string();
                }
            }
            return "there is no part '" + name + "'; there are " + kindNames() + ", and all";
        });
    what->add_option("--frames", options.frames, "so many frames of the moving belt")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000));
    what->require_option(1);
    std::string size = "640 480";
    app.add_option("--out", options.folder, "folder to write to; made if it is missing")
        ->type_name("DIR")
        ->required();
    app.add_option("--size", size, "size of the pictures in pixels [640x480]")
        ->transform(pictureSize());
    app.add_option("--angle", options.angle, "turn the part by this, clockwise [0]")
        ->type_name("DEGREES")
        ->check(CLI::Range(-360.0, 360.0));
    app.add_option("--first", options.first, "number of the first frame [0]")->type_name("N");
    app.add_option("--parts", options.scene.parts, "parts in view [9]")
        ->type_name("N")
        ->check(CLI::Range(1, SceneOptions::MAX_PARTS));
    app.add_option("--noise", options.scene.noise, "noise in grey levels [8]")
        ->type_name("N")
        ->check(CLI::Range(0, SceneOptions::MAX_NOISE));
    app.add_option("--seed", options.scene.seed, "another belt for every number [1]")
        ->type_name("N");
    app.add_flag("--colour", options.colour, "in colour, every kind in its own hue");
    app.add_flag("--standing", options.scene.standing,
                 "the belt stands still, the parts only turn");
    CLI11_PARSE(app, argc, argv);

    std::istringstream(size) >> options.size.first >> options.size.second;
    try {
        std::filesystem::create_directories(options.folder);
        Scene scene(options.scene);
        if (options.frames > 0) {
            writeFrames(options, scene);
        } else {
            writeParts(options, scene);
        }
    } catch (const std::exception& e) {
        std::cerr << "scene-pictures: " << e.what() << '\n';
        return 1;
    }
    return 0;
}
