#include "image/Image.h"

#include "image/ImageException.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tarvik::image {

Image::Image(std::uint16_t width, std::uint16_t height)
    : Image(width, height, 1, Format::None, ColorSpace::None)
{}

Image::Image(std::uint16_t width, std::uint16_t height, std::uint8_t channels, Format format,
             ColorSpace colorSpace)
{
    reshape(width, height, channels, format, colorSpace);
    std::ranges::fill(bytes(), std::uint8_t{0});
}

Image::Image(const Image& other)
{
    *this = other;
}

Image& Image::operator=(const Image& other)
{
    if (this == &other) {
        return *this;
    }
    const std::uint8_t* const source = other.data(); // may be a view of the buffer kept here
    reshape(other._width, other._height, other._channels, other._format, other._colorSpace);
    if (byteCount() > 0) {
        std::memmove(_data, source, byteCount());
    }
    return *this;
}

Image::Image(Image&& other) noexcept
{
    *this = std::move(other);
}

Image& Image::operator=(Image&& other) noexcept
{
    if (this == &other) {
        return *this;
    }
    other.complete();
    _postponed = false;
    _owned = std::move(other._owned);
    _capacity = std::exchange(other._capacity, 0);
    _data = std::exchange(other._data, nullptr);
    _width = std::exchange(other._width, std::uint16_t{0});
    _height = std::exchange(other._height, std::uint16_t{0});
    _channels = std::exchange(other._channels, std::uint8_t{1});
    _format = std::exchange(other._format, Format::None);
    _colorSpace = std::exchange(other._colorSpace, ColorSpace::None);
    return *this;
}

Image Image::view(std::uint8_t* pixels, std::uint16_t width, std::uint16_t height)
{
    Image image;
    image._data = pixels;
    image._width = width;
    image._height = height;
    return image;
}

Image Image::view(std::uint8_t* pixels, std::uint16_t width, std::uint16_t height, Format format,
                  ColorSpace colorSpace)
{
    Image image = view(pixels, width, height);
    image._channels = 3;
    image._format = format;
    image._colorSpace = colorSpace;
    return image;
}

void Image::reshape(std::uint16_t width, std::uint16_t height, std::uint8_t channels, Format format,
                    ColorSpace colorSpace)
{
    const std::size_t size = std::size_t{width} * height * channels;
    if (_owned == nullptr || size > _capacity) {
        // Before anything changes: without memory the image stays as it was.
        _owned.reset(size > 0 ? new std::uint8_t[size] : nullptr);
        _capacity = size;
    }
    _postponed = false;
    _data = _owned.get();
    _width = width;
    _height = height;
    _channels = channels;
    _format = format;
    _colorSpace = colorSpace;
}

void Image::checkConsistency()
{
    if (_channels == 1) {
        _format = Format::None;
        _colorSpace = ColorSpace::None;
    } else if (_channels == 3) {
        if (_format == Format::None) {
            throw ImageException("Color images must have format 'Interleaved' or 'Planar'.");
        }
        if (_colorSpace == ColorSpace::None) {
            throw ImageException("Color images must have color space 'RGB' or 'HSV'.");
        }
    }
}

} // namespace tarvik::image
