#include "support/NumberedPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace tarvik::test {

namespace {

constexpr int BITS = 16;
constexpr int SLOTS = BITS + 2;
constexpr int BLOCK = 20; // pixels
constexpr int STEP = 34;
constexpr int LEFT = 24;
constexpr int TOP = 60;

constexpr std::uint8_t GREY = 200;
constexpr std::array<std::uint8_t, 3> HSV{100, 150, 150};

constexpr std::uint32_t slotsOf(PictureNumber number)
{
    return 1U | std::uint32_t{number} << 1 | 1U << (SLOTS - 1);
}

/// None without the two outermost ones.
std::optional<PictureNumber> numberOfSlots(std::uint32_t slots)
{
    const auto number = static_cast<PictureNumber>(slots >> 1);
    return slots == slotsOf(number) ? std::optional(number) : std::nullopt;
}

} // namespace

image::Image numberedPicture(PictureNumber number, std::uint16_t width, std::uint16_t height,
                             bool coloured)
{
    image::Image picture =
        coloured ? image::Image(width, height, 3, image::Format::Planar, image::ColorSpace::HSV)
                 : image::Image(width, height);
    for (int slot = 0; slot < SLOTS; ++slot) {
        if ((slotsOf(number) >> slot & 1) == 0) {
            continue;
        }
        for (std::size_t plane = 0; plane < picture.channels(); ++plane) {
            std::uint8_t* const pixels = picture.data() + plane * picture.pixelCount();
            for (int y = TOP; y < TOP + BLOCK; ++y) {
                std::fill_n(pixels + y * width + LEFT + slot * STEP, BLOCK,
                            coloured ? HSV.at(plane) : GREY);
            }
        }
    }
    return picture;
}

std::optional<PictureNumber> numberOf(const image::Image& picture)
{
    if (picture.width() < LEFT + SLOTS * STEP || picture.height() < TOP + BLOCK) {
        return std::nullopt;
    }
    // The last plane, which is the value of a colour picture; on the blocks' upper edge, since the
    // inside has no contour code.
    const std::uint8_t* const row = picture.data() +
                                    (picture.channels() - 1U) * picture.pixelCount() +
                                    std::ptrdiff_t{TOP} * picture.width();
    std::uint32_t slots = 0;
    for (int slot = 0; slot < SLOTS; ++slot) {
        const std::uint8_t* const block = row + LEFT + slot * STEP;
        if (block[BLOCK + (STEP - BLOCK) / 2] != 0) {
            return std::nullopt;
        }
        slots |= (block[BLOCK / 2] != 0 ? 1U : 0U) << slot;
    }
    return numberOfSlots(slots);
}

std::optional<PictureNumber> numberOf(const analysis::Frame& frame, std::uint16_t width,
                                      std::uint16_t height)
{
    constexpr double TOLERANCE = 3; // pixels
    const double unit = width / 2.0;
    std::uint32_t slots = 0;
    for (const analysis::Object& object : frame.objects()) {
        const double x = object.polygon().position().re.toDouble() * unit + unit;
        const double y = object.polygon().position().im.toDouble() * unit + height / 2.0;
        const double place = (x - LEFT - BLOCK / 2.0) / STEP;
        const int slot = static_cast<int>(std::lround(place));
        if (slot < 0 || slot >= SLOTS || std::abs(place - slot) * STEP > TOLERANCE ||
            std::abs(y - TOP - BLOCK / 2.0) > TOLERANCE || (slots >> slot & 1) != 0) {
            return std::nullopt;
        }
        slots |= 1U << slot;
    }
    return numberOfSlots(slots);
}

} // namespace tarvik::test
