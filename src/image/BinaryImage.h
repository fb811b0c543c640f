#pragma once

#include "image/ByteWindow.h"
#include "image/CompressedBinaryImage.h"
#include "image/Image.h"

#include <cstdint>
#include <span>

namespace tarvik::image {

/// A binary picture made by thresholding: packed at once, since that is what the analysis reads,
/// while the bytes, eight times as much memory to write, wait until somebody wants to see them.
class BinaryImage : public Image
{
public:
    using Image::Image;
    BinaryImage() = default;
    BinaryImage(const BinaryImage&) = delete;
    BinaryImage& operator=(const BinaryImage&) = delete;
    ~BinaryImage() override = default;

    /// Takes the size of a grey picture; foreground, 255, is what lies inside the window.
    /// Allocates only when the size changes.
    void binarize(const Image& grey, ByteWindow window);

    [[nodiscard]] CompressedBinaryImage* packed() override;

private:
    void fill(std::span<std::uint8_t> bytes) const override;

    CompressedBinaryImage _packed;
};

} // namespace tarvik::image
