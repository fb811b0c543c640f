#include "Objects.h"
#include "Target.h"
#include "io/com/Message.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/serialization/XMLEncoder.h"
#include "io/stream/MemoryOutputStream.h"
#include "protocol/MessageKinds.h"
#include "support/SceneChain.h"

#include <array>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

// Writes a folder of well-formed inputs for each fuzz target. Usage: fuzz-seeds FOLDER

namespace tarvik::fuzz {
namespace {

using io::serialization::field;
using io::stream::MemoryOutputStream;

class Folder
{
public:
    explicit Folder(std::filesystem::path path) : _path(std::move(path)) {}

    void write(const char* target, const std::string& name, const std::string& content) const
    {
        std::filesystem::create_directories(_path / target);
        std::ofstream file(_path / target / name, std::ios::binary);
        if (!(file << content)) {
            throw std::runtime_error("Couldn't write below " + _path.string() + ".");
        }
    }

private:
    std::filesystem::path _path;
};

template <class T>
std::string binary(const T& object)
{
    MemoryOutputStream stream;
    io::serialization::BinaryEncoder encoder(stream);
    encoder& field("Object", object);
    const auto bytes = stream.bytes();
    std::string text(bytes.size(), '\0');
    std::ranges::copy(bytes, std::as_writable_bytes(std::span(text)).begin());
    return text;
}

template <class T>
std::string xml(const char* name, const T& object)
{
    io::serialization::XMLEncoder encoder;
    encoder& field(name, object);
    return encoder.printToBuffer();
}

std::string byte(std::size_t value)
{
    return std::string(1, static_cast<char>(value)); // in braces it would be two characters
}

/// Two parts taught, with a pair of them found and cut apart.
void fillFromScene(com::StreamContents& contents, database::DatabaseState& database)
{
    constexpr std::uint32_t images = 20;
    OCamera::simulated::Scene scene;
    test::SceneChain chain(640, 480);
    chain.teachAll(scene);
    chain.enableBreakup();
    for (std::uint32_t n = 0; n < images; ++n) {
        const auto result = chain.process(scene, n);
        contents.frame = *result.frame;
        contents.matchings = *result.matchings;
    }
    database = chain.database.state();
    while (database.removeTemplate(2)) {
    }
}

image::Image smallPicture()
{
    image::Image picture(24, 16);
    for (std::size_t i = 0; i < picture.byteCount(); ++i) {
        const bool part = i / 24 > 3 && i / 24 < 12 && i % 24 > 4 && i % 24 < 18;
        const bool hole = i / 24 > 5 && i / 24 < 9 && i % 24 > 8 && i % 24 < 12;
        picture.data()[i] = part && !hole ? 255 : 0;
    }
    return picture;
}

/// One of each kind of object, with something in it.
std::unique_ptr<Objects> samples()
{
    auto objects = std::make_unique<Objects>();
    auto& contents = std::get<com::StreamContents>(*objects);
    auto& database = std::get<database::DatabaseState>(*objects);
    fillFromScene(contents, database);
    contents.settings.originalImage = true;
    contents.settings.binarizedImage = true;
    contents.settings.frame = true;
    contents.settings.matchings = true;
    contents.binaryImage = smallPicture();
    contents.originalImage = image::Image(4, 3, 3, image::Format::Planar, image::ColorSpace::HSV);
    std::get<image::Image>(*objects) = smallPicture();
    std::get<com::LogUpdateContents>(*objects).logName = "Server";
    auto& log = std::get<logging::LogManagerSnapshot>(*objects).logs.emplace_back();
    log.name = "Camera";
    log.entries.resize(2);
    std::get<configuration::SystemConfiguration>(*objects).database = database;
    return objects;
}

template <std::size_t... I>
void writeObjects(const Folder& folder, const Objects& objects, std::index_sequence<I...> /*i*/)
{
    (folder.write("binary", std::to_string(I), byte(I) + binary(std::get<I>(objects))), ...);
    (folder.write("xml", std::to_string(I), byte(I) + xml("Object", std::get<I>(objects))), ...);
}

void writeConfigurations(const Folder& folder, const Objects& objects)
{
    const auto& full = std::get<configuration::SystemConfiguration>(objects);
    folder.write("configuration", "taught", xml("Tarvik", full));
    folder.write("configuration", "default", xml("Tarvik", configuration::SystemConfiguration{}));
}

/// A message as it stands on the wire.
std::string message(const com::kinds::MessageKind& kind, const std::string& payload = {})
{
    return binary(io::com::Message::idOf(kind.name)) + payload;
}

void writeConversations(const Folder& folder, const Objects& objects)
{
    namespace kinds = com::kinds;
    const std::string analyzer = binary(std::get<analysis::AnalyzerConfiguration>(objects));
    const std::string camera = binary(std::get<camera::CameraConfiguration>(objects));
    const std::string breakup = binary(std::get<breakup::BreakupConfiguration>(objects));
    const std::string database = binary(std::get<database::DatabaseState>(objects));
    const std::string picture = binary(std::get<image::Image>(objects));
    const std::string toServer =
        message(kinds::SET_ANALYZER_CONFIG, analyzer) + message(kinds::GET_ANALYZER_CONFIG) +
        message(kinds::SET_CAMERA_CONFIG, camera) + message(kinds::GET_CAMERA_CONFIG) +
        message(kinds::SET_BREAKUP_CONFIG, breakup) + message(kinds::GET_BREAKUP_CONFIG) +
        message(kinds::SET_DATABASE_CONFIG,
                binary(std::get<database::DatabaseConfiguration>(objects))) +
        message(kinds::SET_DATABASE_COMPARATOR,
                binary(std::get<database::comparators::AdvancedComparator>(objects))) +
        message(kinds::TEST_CONNECTION) +
        message(kinds::CONFIG_STREAMING, binary(std::get<com::StreamingSettings>(objects))) +
        message(kinds::CONFIG_LOGGING, byte(1)) +
        message(kinds::SET_SYSTEM_TIME, binary(std::get<sys::DateTime>(objects))) +
        message(kinds::SET_CAMERA_SOURCE, picture) + message(kinds::GET_CAM_IMG_OVERRIDDEN);
    const std::string withDatabase =
        message(kinds::SET_DATABASE, database) + message(kinds::GET_DATABASE);
    const std::string toClient =
        message(kinds::STREAM, binary(std::get<com::StreamContents>(objects))) +
        message(kinds::LOG_UPDATE, binary(std::get<com::LogUpdateContents>(objects))) +
        message(kinds::TEST_CONNECTION);
    const std::string answer = message(kinds::GET_DATABASE, database);
    for (const std::size_t pieces : {0U, 7U, 255U}) {
        const std::string suffix = "-in-pieces-" + std::to_string(pieces);
        folder.write("channel", "to-server" + suffix, byte(0) + byte(pieces) + toServer);
        folder.write("channel", "with-database" + suffix, byte(0) + byte(pieces) + withDatabase);
        folder.write("channel", "to-client" + suffix, byte(1) + byte(pieces) + toClient);
        folder.write("channel", "answer" + suffix, byte(1) + byte(pieces) + answer);
    }
}

void writeLines(const Folder& folder, const Objects& objects)
{
    const std::string matchings = binary(std::get<com::StreamContents>(objects).matchings);
    const std::string noMatchings = binary(database::Matchings{});
    const std::string commands =
        "VERSION\r\nIMAGE\nRDO \"RPD\"\rRV Hello\r\nRV Objects\r\nRV O1\r\n"
        "RV O0\nRV O25\nRVxO7\nRV \n\nversion\nRV O-1\nEXIT\r\nquit\n";
    folder.write("telnet", "commands", matchings + commands);
    folder.write("telnet", "without-objects", noMatchings + commands);
    folder.write("telnet", "long", matchings + std::string(1200, 'x') + "\nIMAGE\n");
    for (const std::size_t pieces : {0U, 9U}) {
        const std::string suffix = "-in-pieces-" + std::to_string(pieces);
        folder.write("lines", "commands" + suffix, byte(pieces) + commands);
        folder.write("lines", "long" + suffix,
                     byte(pieces) + std::string(1023, 'a') + "\r\n" + std::string(1024, 'b') +
                         "\r\n\n" + std::string(2500, 'c') + "\rd");
    }
}

/// The form of fuzz/Picture.h.
std::string dots(std::size_t width, std::size_t height, std::size_t size, std::string_view rows)
{
    std::string result = byte(width) + byte(height) + byte(size - 1);
    for (std::size_t i = 0; i < rows.size(); i += 8) {
        std::size_t bits = 0;
        for (std::size_t k = 0; k < 8 && i + k < rows.size(); ++k) {
            bits |= rows[i + k] == '#' ? std::size_t{1} << k : 0;
        }
        result += byte(bits);
    }
    return result;
}

void writePictures(const Folder& folder, const Objects& objects)
{
    const std::array pictures{
        dots(128, 96, 8,
             "................"
             ".######...####.."
             ".#....#...####.."
             ".#.##.######.##."
             ".#.##.#...####.."
             ".#....#...####.."
             ".######.........."),
        dots(40, 30, 2, "#.##..####.#.#.####....##.#"),
        dots(143, 143, 1, "#"),
        dots(33, 17, 1, "##.#...#####.###..#.#.#.##.#.##.##"),
    };
    const std::string settings = byte(0) +
                                 binary(std::get<analysis::AnalyzerConfiguration>(objects)) +
                                 byte(1) + binary(std::get<database::DatabaseState>(objects)) +
                                 byte(2) + byte(1) + binary(fp<32, 30>::fromDouble(0.2));
    const std::string region = std::string(8, '\0') + binary(std::int16_t{700}) + "\3\1\2\5";
    const std::string inside = binary(std::int16_t{5}) + binary(std::int16_t{3}) +
                               binary(std::int16_t{20}) + binary(std::int16_t{12}) +
                               binary(std::int16_t{0}) + "\3\0\7\3";
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const std::string name = std::to_string(i);
        folder.write("chain", "plain-" + name, byte(4) + pictures[i] + byte(4) + pictures[i]);
        folder.write("chain", "settings-" + name, settings + byte(4) + pictures[i]);
        folder.write("extraction", "whole-" + name, region + pictures[i]);
        folder.write("extraction", "inside-" + name, inside + pictures[i]);
    }
}

void append(void* text, void* data, int size)
{
    static_cast<std::string*>(text)->append(static_cast<const char*>(data),
                                            static_cast<std::size_t>(size));
}

void writePictureFiles(const Folder& folder)
{
    constexpr int width = 19;
    constexpr int height = 11;
    std::vector<unsigned char> pixels(std::size_t{3} * width * height);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<unsigned char>(i * i / 5);
    }
    const std::string raw(pixels.begin(), pixels.end());
    const std::string size = std::to_string(width) + " " + std::to_string(height);
    folder.write("picture", "colour.ppm", "P6\n# made here\n" + size + "\n255\n" + raw);
    folder.write("picture", "grey.pgm",
                 "P5 " + size + " 255\n" + raw.substr(0, std::size_t{width} * height));
    for (const int channels : {1, 2, 3}) {
        const std::string name = "channels-" + std::to_string(channels);
        std::string png;
        stbi_write_png_to_func(append, &png, width, height, channels, pixels.data(), 0);
        folder.write("picture", name + ".png", png);
        std::string jpg;
        stbi_write_jpg_to_func(append, &jpg, width, height, channels, pixels.data(), 60);
        folder.write("picture", name + ".jpg", jpg);
    }
}

void writeSeeds(const Folder& folder)
{
    const std::unique_ptr<Objects> objects = samples();
    writeObjects(folder, *objects, std::make_index_sequence<OBJECT_COUNT>());
    writeConfigurations(folder, *objects);
    writeConversations(folder, *objects);
    writeLines(folder, *objects);
    writePictures(folder, *objects);
    writePictureFiles(folder);
}

} // namespace
} // namespace tarvik::fuzz

int main(int argc, char** argv)
{
    try {
        if (argc != 2) {
            std::fputs("usage: fuzz-seeds FOLDER\n", stderr);
            return 2;
        }
        tarvik::fuzz::silence();
        tarvik::fuzz::writeSeeds(tarvik::fuzz::Folder(argv[1]));
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
