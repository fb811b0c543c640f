#include "MemoryFile.h"
#include "ocamera/simulated/Pictures.h"

// Picture files as the simulated sensor reads them.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik;
    const fuzz::MemoryFile file(data, size);
    std::string why;
    if (const auto picture = OCamera::simulated::decode(file.path(), why)) {
        const auto pixels =
            static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height);
        fuzz::require(picture->pixels.size() ==
                          pixels * static_cast<std::size_t>(picture->channels),
                      "the pixels fit the size");
        const auto small = OCamera::simulated::scaled(*picture, 32, 24);
        fuzz::require(small.pixels.size() ==
                          std::size_t{32} * 24 * static_cast<std::size_t>(small.channels),
                      "a scaled picture has the wanted size");
    } else {
        fuzz::require(!why.empty(), "a refused picture is told why");
    }
    return 0;
}
