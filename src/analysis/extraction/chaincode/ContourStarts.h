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
/// Found 32 at a time from a word, the one above it and the one below it; in blocks of 16 words, of
/// which those without foreground cost one look.
class ContourStarts
{
public:
    /// All of a picture whose outermost pixels are background.
    void load(const image::CompressedBinaryImage& image);
    void clear();

    /// There are starts nearly everywhere, so that contours can hardly be smooth: in three of four
    /// words.
    [[nodiscard]] bool dense() const { return _dense; }

    /// Index of the first start at or behind the word that holds this one; size() for none.
    [[nodiscard]] std::size_t next(std::size_t index) const;

    /// A trace passes the pixel, which is foreground: nothing starts there any more.
    void pass(std::size_t index) { _words[index / 32] &= ~(1U << (index % 32)); }

    /// Pixels of the picture.
    [[nodiscard]] std::size_t size() const { return _size; }

private:
    /// 16 words from the given one on, or what there is of them.
    void loadBlock(const image::CompressedBinaryImage& image, std::size_t first);
    [[nodiscard]] bool isLoaded(std::size_t block) const;
    /// Index of the first start from this word to the end of its block; size() for none.
    [[nodiscard]] std::size_t firstInBlock(std::size_t word) const;
    /// The first block at or behind this that has starts left, or the last one; one behind for
    /// none.
    [[nodiscard]] std::size_t nextBlock(std::size_t block) const;

    std::vector<std::uint32_t> _words;  ///< undefined in blocks that are not in _blocks
    std::vector<std::uint32_t> _blocks; ///< one bit for each block, set where there is foreground
    std::size_t _size = 0;
    bool _dense = false;
};

} // namespace tarvik::analysis::extraction::chaincode
