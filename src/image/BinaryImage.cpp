#include "image/BinaryImage.h"

namespace tarvik::image {

void BinaryImage::binarize(const Image& grey, ByteWindow window)
{
    _packed.load(grey, window);
    reshape(grey.width(), grey.height());
    postponeBytes();
}

CompressedBinaryImage* BinaryImage::packed()
{
    return bytesPostponed() ? &_packed : nullptr;
}

void BinaryImage::fill(std::span<std::uint8_t> bytes) const
{
    _packed.unpack(bytes);
}

} // namespace tarvik::image
