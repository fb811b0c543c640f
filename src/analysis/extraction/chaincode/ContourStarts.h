#pragma once

#include "image/CompressedBinaryImage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvik::analysis::extraction::chaincode {

/// The pixels at which a contour may start, one bit each in the layout of CompressedBinaryImage:
/// foreground with background above (an outer contour) or below it (a hole's), not passed by any
/// trace so far.
///
/// Found 32 at a time from a word, the one above it and the one below it.
class ContourStarts
{
public:
    /// All of a picture whose outermost pixels are background.
    void load(const image::CompressedBinaryImage& image);
    void clear();

    /// Index of the first start at or behind the word that holds this one; size() for none.
    [[nodiscard]] std::size_t next(std::size_t index) const;

    /// A trace passes the pixel: nothing starts there any more.
    void pass(std::size_t index) { _words[index / 32] &= ~(1U << (index % 32)); }

    /// Pixels of the picture.
    [[nodiscard]] std::size_t size() const { return _size; }

private:
    std::vector<std::uint32_t> _words;
    std::size_t _size = 0;
};

} // namespace tarvik::analysis::extraction::chaincode
