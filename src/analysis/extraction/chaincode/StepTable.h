#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::analysis::extraction::chaincode {

/// The next step of a trace by one look: for every 3 x 3 neighbourhood and direction to begin the
/// search with, where to go. For pictures whose contours turn at random, in which searching
/// neighbour by neighbour would mislead the processor's branch prediction at every pixel.
class StepTable
{
public:
    struct Step
    {
        std::int16_t offset = 0;    ///< of the next pixel's index
        std::uint8_t code = 0;      ///< of the chain; 8 when there is no neighbour
        std::uint8_t direction = 0; ///< to begin the next search with
    };

    /// Rows of a table begin at whole bytes, and offsets fit 16 bits.
    [[nodiscard]] static bool suits(int width) { return width % 8 == 0 && width < 32000; }

    /// For pictures of this width, which suits.
    void setWidth(int width);

    /// From a pixel that is not on the picture's edge. The words are a CompressedBinaryImage's: one
    /// more may be read.
    [[nodiscard]] Step next(const std::uint32_t* words, std::size_t index,
                            std::size_t direction) const
    {
        const std::size_t left = index - 1;
        const std::uint8_t* const row = reinterpret_cast<const std::uint8_t*>(words) + left / 8;
        const auto shift = static_cast<unsigned>(left % 8);
        const std::size_t neighbourhood = threeBits(row - _bytesPerRow, shift) |
                                          threeBits(row, shift) << 3 |
                                          threeBits(row + _bytesPerRow, shift) << 6;
        return _steps[neighbourhood * 8 + direction];
    }

private:
    static std::size_t threeBits(const std::uint8_t* bytes, unsigned shift)
    {
        return static_cast<std::size_t>((bytes[0] | bytes[1] << 8) >> shift & 7);
    }

    std::size_t _bytesPerRow = 0;
    std::array<Step, 512 * 8> _steps; ///< bits of a neighbourhood: row by row from the upper left
};

} // namespace tarvik::analysis::extraction::chaincode
