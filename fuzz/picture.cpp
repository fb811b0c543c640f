#include "MemoryFile.h"
#include "picturefile/PictureFile.h"

// Picture files as the simulated sensor reads them.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik;
    constexpr std::int64_t MAX_PIXELS = std::int64_t{2048} * 2048;
    const fuzz::MemoryFile file(data, size);
    std::string why;
    if (const auto picture = picturefile::decode(file.path(), MAX_PIXELS, why)) {
        const auto pixels =
            static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height);
        fuzz::require(picture->pixels.size() ==
                          pixels * static_cast<std::size_t>(picture->channels),
                      "the pixels fit the size");
        constexpr std::size_t quick = std::size_t{256} * 256; // large ones scale the same, slower
        if (pixels <= quick) {
            const auto small = picturefile::scaled(*picture, 32, 24);
            fuzz::require(small.pixels.size() ==
                              std::size_t{32} * 24 * static_cast<std::size_t>(small.channels),
                          "a scaled picture has the wanted size");
        }
    } else {
        fuzz::require(!why.empty(), "a refused picture is told why");
    }
    return 0;
}
