#include "ocamera/simulated/Pictures.h"

#include "picturefile/PictureFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace OCamera::simulated {

namespace {

namespace fs = std::filesystem;
using picturefile::DecodedPicture;

constexpr std::array SUFFIXES{".png", ".pgm", ".ppm", ".pnm", ".jpg", ".jpeg"};

/// Pictures kept in memory, so that a short loop costs no time; longer ones are read as they play.
constexpr std::size_t MAX_KEPT = 64;
constexpr std::size_t MAX_KEPT_BYTES = std::size_t{96} << 20;
/// More than any sensor has; what is larger costs more time than an image has.
constexpr std::int64_t MAX_PIXELS = std::int64_t{2048} * 2048;

std::size_t keptOf(std::size_t files, int width, int height)
{
    const std::size_t bytes =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
    return std::min({files, MAX_KEPT, MAX_KEPT_BYTES / bytes});
}

class SyntheticPictures : public Pictures
{
public:
    SyntheticPictures(const SceneOptions& options, int width, int height)
        : _scene(options),
          _width(width),
          _height(height)
    {}

    bool grey(std::uint32_t number, std::span<std::uint8_t> picture) override
    {
        _scene.grey(number, _width, _height, picture);
        return true;
    }

    bool rgb(std::uint32_t number, std::span<std::uint8_t> picture) override
    {
        _scene.rgb(number, _width, _height, picture);
        return true;
    }

private:
    Scene _scene;
    int _width;
    int _height;
};

/// Files played in a loop.
class FilePictures : public Pictures
{
public:
    FilePictures(std::vector<fs::path> files, int width, int height)
        : _files(std::move(files)),
          _width(width),
          _height(height),
          _kept(keptOf(_files.size(), width, height)),
          _complained(_files.size())
    {}

    bool grey(std::uint32_t number, std::span<std::uint8_t> picture) override
    {
        const DecodedPicture* from = load(number);
        if (from == nullptr) {
            return false;
        }
        if (from->channels == 1) {
            std::copy(from->pixels.begin(), from->pixels.end(), picture.begin());
            return true;
        }
        for (std::size_t i = 0; i < picture.size(); ++i) {
            // Weights of luma in ITU-R BT.601, in 256ths.
            const std::uint8_t* rgb = from->pixels.data() + 3 * i;
            picture[i] =
                static_cast<std::uint8_t>((77 * rgb[0] + 150 * rgb[1] + 29 * rgb[2] + 128) >> 8);
        }
        return true;
    }

    bool rgb(std::uint32_t number, std::span<std::uint8_t> picture) override
    {
        const DecodedPicture* from = load(number);
        if (from == nullptr) {
            return false;
        }
        if (from->channels == 3) {
            std::copy(from->pixels.begin(), from->pixels.end(), picture.begin());
            return true;
        }
        for (std::size_t i = 0; i < from->pixels.size(); ++i) {
            std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>(3 * i), 3, from->pixels[i]);
        }
        return true;
    }

private:
    /// The picture at the sensor's size; null: unreadable.
    const DecodedPicture* load(std::uint32_t number)
    {
        const std::size_t index = number % _files.size();
        DecodedPicture& place = index < _kept.size() ? _kept[index] : _passing;
        if (index < _kept.size() && !place.pixels.empty()) {
            return &place;
        }
        std::string why;
        std::optional<DecodedPicture> decoded = picturefile::decode(_files[index], MAX_PIXELS, why);
        if (!decoded) {
            complainOnce(index, why);
            return nullptr;
        }
        const bool fits = decoded->width == _width && decoded->height == _height;
        place = fits ? std::move(*decoded) : picturefile::scaled(*decoded, _width, _height);
        return &place;
    }

    void complainOnce(std::size_t index, const std::string& why)
    {
        if (!_complained[index]) {
            _complained[index] = true;
            complain("the picture '" + _files[index].string() + "' cannot be read (" + why +
                     "). Give PNG, PGM, PPM or JPEG files in OCAMERA_SCENE, or unset it for the "
                     "synthetic scene.");
        }
    }

    std::vector<fs::path> _files;
    int _width;
    int _height;
    std::vector<DecodedPicture> _kept; ///< of the first files; without pixels until first shown
    DecodedPicture _passing;
    std::vector<bool> _complained;
};

bool isPicture(const fs::path& file)
{
    std::string suffix = file.extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(SUFFIXES.begin(), SUFFIXES.end(), suffix) != SUFFIXES.end();
}

/// The file, or the pictures of the folder in the order of their names.
std::vector<fs::path> filesOf(const fs::path& scene, std::error_code& error)
{
    if (!fs::is_directory(scene, error)) {
        return {scene};
    }
    std::vector<fs::path> files;
    for (fs::directory_iterator entry(scene, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isPicture(entry->path()) && entry->is_regular_file(error)) {
            files.push_back(entry->path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

std::unique_ptr<Pictures> openPictures(const Settings& settings, int width, int height)
{
    if (settings.scene.empty()) {
        return std::make_unique<SyntheticPictures>(settings.synthetic, width, height);
    }
    std::error_code error;
    if (!fs::exists(settings.scene, error)) {
        complain(
            "OCAMERA_SCENE='" + settings.scene.string() +
            "' does not exist. Name a picture or a folder of pictures (PNG, PGM, PPM, JPEG), or "
            "unset it for the synthetic scene.");
        return nullptr;
    }
    std::vector<fs::path> files = filesOf(settings.scene, error);
    if (files.empty()) {
        complain("OCAMERA_SCENE='" + settings.scene.string() + "' holds no picture" +
                 (error ? " that can be read (" + error.message() + ")" : std::string()) +
                 ". Put PNG, PGM, PPM or JPEG files there, or unset it for the synthetic scene.");
        return nullptr;
    }
    auto pictures = std::make_unique<FilePictures>(std::move(files), width, height);
    std::vector<std::uint8_t> first(static_cast<std::size_t>(width) *
                                    static_cast<std::size_t>(height));
    if (!pictures->grey(0, first)) {
        return nullptr;
    }
    return pictures;
}

} // namespace OCamera::simulated
