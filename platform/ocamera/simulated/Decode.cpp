#include "ocamera/simulated/Pictures.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

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
#define STBI_ONLY_JPEG
#define STBI_MAX_DIMENSIONS 16384
#define STBI_MALLOC(size) bounded(size)
#define STBI_REALLOC(block, size) bounded(block, size)
#define STBI_FREE(block) std::free(block)
#include <stb/stb_image.h>
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop

namespace OCamera::simulated {

namespace {

/// Of a sensor and of a picture from a client, whichever is larger.
constexpr std::int64_t MAX_PIXELS = std::int64_t{2048} * 2048;

/// Not every failure has a reason.
std::string failureReason()
{
    const char* const reason = stbi_failure_reason();
    return reason != nullptr && *reason != '\0' ? reason : "not a picture of a known kind";
}

} // namespace

std::optional<DecodedPicture> decode(const std::filesystem::path& file, std::string& why)
{
    DecodedPicture picture;
    int channels = 0;
    if (stbi_info(file.c_str(), &picture.width, &picture.height, &channels) == 0) {
        why = failureReason();
        return std::nullopt;
    }
    if (std::int64_t{picture.width} * picture.height > MAX_PIXELS) {
        why = "it has more than 2048 x 2048 pixels";
        return std::nullopt;
    }
    picture.channels = channels >= 3 ? 3 : 1;
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
        stbi_load(file.c_str(), &picture.width, &picture.height, &channels, picture.channels),
        &stbi_image_free);
    if (pixels == nullptr) {
        why = failureReason();
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(picture.width) *
                      static_cast<std::size_t>(picture.height) *
                      static_cast<std::size_t>(picture.channels);
    picture.pixels.assign(pixels.get(), pixels.get() + size);
    return picture;
}

DecodedPicture scaled(const DecodedPicture& picture, int width, int height)
{
    DecodedPicture result{width, height, picture.channels, {}};
    result.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                         static_cast<std::size_t>(picture.channels));
    // The library fails only for want of memory.
    if (stbir_resize_uint8(picture.pixels.data(), picture.width, picture.height, 0,
                           result.pixels.data(), width, height, 0, picture.channels) == 0) {
        throw std::bad_alloc();
    }
    return result;
}

} // namespace OCamera::simulated
