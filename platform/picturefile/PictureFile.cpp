#include "picturefile/PictureFile.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

/// A file says how large it will be, so what it may ask for is bounded: a few bytes unpack to
/// gigabytes.
constexpr std::size_t MAX_BLOCK = std::size_t{48} << 20U;

void* bounded(std::size_t size)
{
    return size <= MAX_BLOCK ? std::malloc(size) : nullptr;
}

void* bounded(void* block, std::size_t size)
{
    return size <= MAX_BLOCK ? std::realloc(block, size) : nullptr;
}

} // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#pragma GCC diagnostic ignored "-Wextra"
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_ONLY_PNM
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 16384
#define STBI_MALLOC(size) bounded(size)
#define STBI_REALLOC(block, size) bounded(block, size)
#define STBI_FREE(block) std::free(block)
#include <stb/stb_image.h>
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop

namespace picturefile {

namespace {

/// Why a picture cannot be read.
class Refusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

using Content = std::vector<unsigned char>;

Content contentOf(const std::filesystem::path& file)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    std::ifstream stream(file, std::ios::binary);
    if (error || !stream) {
        throw Refusal("it cannot be opened");
    }
    if (size > MAX_BLOCK) {
        throw Refusal("it has more than 48 MB");
    }
    Content content(static_cast<std::size_t>(size));
    stream.read(reinterpret_cast<char*>(content.data()), // the type that streams want
                static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));
    return content;
}

/// Room for a picture of this size.
void reshape(DecodedPicture& picture, int width, int height, int channels, std::int64_t maxPixels)
{
    if (width < 1 || height < 1) {
        throw Refusal("it has no pixels");
    }
    if (std::int64_t{width} * height > maxPixels) {
        throw Refusal("it has more than " + std::to_string(maxPixels) + " pixels");
    }
    picture.width = width;
    picture.height = height;
    picture.channels = channels;
    picture.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                          static_cast<std::size_t>(channels));
}

bool isJpeg(const Content& content)
{
    return content.size() > 2 && content[0] == 0xFF && content[1] == 0xD8;
}

DecodedPicture decodeJpeg(const Content& content, std::int64_t maxPixels)
{
    const std::unique_ptr<void, decltype(&tjDestroy)> decoder(tjInitDecompress(), &tjDestroy);
    const auto check = [&decoder](int result) {
        if (result != 0) {
            throw Refusal(tjGetErrorStr2(decoder.get()));
        }
    };
    const auto size = static_cast<unsigned long>(content.size());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    check(tjDecompressHeader3(decoder.get(), content.data(), size, &width, &height, &subsampling,
                              &colours));
    const bool grey = colours == TJCS_GRAY;
    DecodedPicture picture;
    reshape(picture, width, height, grey ? 1 : 3, maxPixels);
    check(tjDecompress2(decoder.get(), content.data(), size, picture.pixels.data(), width, 0,
                        height, grey ? TJPF_GRAY : TJPF_RGB,
                        TJFLAG_ACCURATEDCT | TJFLAG_LIMITSCANS));
    return picture;
}

[[noreturn]] void failWithReason()
{
    const char* const reason = stbi_failure_reason();
    if (reason == nullptr || *reason == '\0' || std::string_view(reason) == "unknown image type") {
        throw Refusal("not a picture of a known kind");
    }
    throw Refusal(reason);
}

bool isPng(const Content& content)
{
    constexpr std::string_view SIGNATURE = "\x89PNG\r\n\x1A\n";
    return content.size() >= SIGNATURE.size() &&
           std::memcmp(content.data(), SIGNATURE.data(), SIGNATURE.size()) == 0;
}

/// The library would copy the data of a PNG picture to a null pointer when the first chunk of them
/// is empty.
void checkFirstDataChunk(const Content& png)
{
    constexpr std::size_t HEAD = 8; // length and type; the signature has as many
    constexpr std::size_t CHECKSUM = 4;
    std::size_t at = HEAD;
    while (png.size() - at >= HEAD + CHECKSUM) {
        const std::size_t length = png[at] * std::size_t{0x1000000} + png[at + 1] * 0x10000U +
                                   png[at + 2] * 0x100U + png[at + 3];
        if (std::memcmp(&png[at + 4], "IDAT", 4) == 0) {
            if (length == 0) {
                throw Refusal("its first data chunk is empty");
            }
            return;
        }
        if (length > png.size() - at - HEAD - CHECKSUM) {
            return; // the library says so
        }
        at += HEAD + length + CHECKSUM;
    }
}

/// The library would multiply a number in the header of a PGM or PPM picture beyond what its type
/// holds. Skips what the library skips: space, and comments up to the end of their line.
void checkHeaderNumbers(const Content& pnm)
{
    constexpr int NUMBERS = 3; // width, height, brightest value
    constexpr std::ptrdiff_t MAX_DIGITS = 9;
    const auto isSpace = [](unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    const auto isDigit = [](unsigned char c) { return c >= '0' && c <= '9'; };
    const auto isLineEnd = [](unsigned char c) { return c == '\n' || c == '\r'; };
    const auto end = pnm.end();
    auto at = pnm.begin() + 2;
    for (int i = 0; i < NUMBERS; ++i) {
        at = std::find_if_not(at, end, isSpace);
        while (at != end && *at == '#') {
            at = std::find_if_not(std::find_if(at, end, isLineEnd), end, isSpace);
        }
        const auto behind = std::find_if_not(at, end, isDigit);
        if (behind - at > MAX_DIGITS) {
            throw Refusal("a number in its header is too large");
        }
        at = behind;
    }
}

DecodedPicture decodeOther(const Content& content, std::int64_t maxPixels)
{
    if (isPng(content)) {
        checkFirstDataChunk(content);
    } else if (content.size() > 2 && content[0] == 'P') {
        checkHeaderNumbers(content);
    }
    const auto size = static_cast<int>(content.size());
    int width = 0;
    int height = 0;
    int channels = 0;
    if (stbi_info_from_memory(content.data(), size, &width, &height, &channels) == 0) {
        failWithReason();
    }
    DecodedPicture picture;
    reshape(picture, width, height, channels >= 3 ? 3 : 1, maxPixels);
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
        stbi_load_from_memory(content.data(), size, &width, &height, &channels, picture.channels),
        &stbi_image_free);
    if (pixels == nullptr) {
        failWithReason();
    }
    std::copy_n(pixels.get(), picture.pixels.size(), picture.pixels.begin());
    return picture;
}

} // namespace

std::optional<DecodedPicture> decode(const std::filesystem::path& file, std::int64_t maxPixels,
                                     std::string& why)
{
    try {
        const Content content = contentOf(file);
        return isJpeg(content) ? decodeJpeg(content, maxPixels) : decodeOther(content, maxPixels);
    } catch (const Refusal& e) {
        why = e.what();
        return std::nullopt;
    }
}

void resize(const std::uint8_t* from, int width, int height, std::uint8_t* to, int newWidth,
            int newHeight, int channels)
{
    // The library fails only for want of memory.
    if (stbir_resize_uint8(from, width, height, 0, to, newWidth, newHeight, 0, channels) == 0) {
        throw std::bad_alloc();
    }
}

DecodedPicture scaled(const DecodedPicture& picture, int width, int height)
{
    DecodedPicture result{width, height, picture.channels, {}};
    result.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                         static_cast<std::size_t>(picture.channels));
    resize(picture.pixels.data(), picture.width, picture.height, result.pixels.data(), width,
           height, picture.channels);
    return result;
}

} // namespace picturefile
