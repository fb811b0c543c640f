#pragma once

#include "core/serialization/Fields.h"
#include "image/ImageException.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tarvik::image {

class CompressedBinaryImage;

/// Layout of a colour image; the numbers travel on the wire.
enum class Format : std::uint8_t
{
    None = 0,        ///< single channel
    Interleaved = 1, ///< c0 c1 c2 c0 c1 c2 ...
    Planar = 2,      ///< three planes of width x height bytes
};

/// Meaning of the three channels; the numbers travel on the wire.
enum class ColorSpace : std::uint8_t
{
    None = 0,
    RGB = 1,
    HSV = 2,
};

/// A picture of one or three bytes per pixel, rows from the top left corner without padding.
/// In a binary image a pixel is foreground when its byte is not zero.
///
/// Threads: one at a time, for reading as well.
///
/// Owns its pixels, or is a view of a buffer that outlives it, such as a camera's frame buffer.
/// Copies own their pixels.
class Image
{
public:
    /// Largest picture that a peer may send: three channels of 2048 x 2048 pixels.
    static constexpr std::size_t MAX_BYTES = std::size_t{3} * 2048 * 2048;

    /// No pixels, width and height 0, one channel.
    Image() = default;
    /// Owns width x height zeroed grey pixels.
    Image(std::uint16_t width, std::uint16_t height);
    /// Owns zeroed pixels.
    Image(std::uint16_t width, std::uint16_t height, std::uint8_t channels, Format format,
          ColorSpace colorSpace);
    Image(const Image& other);
    Image& operator=(const Image& other);
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    virtual ~Image() = default;

    /// A view of one-channel pixels owned by somebody else.
    [[nodiscard]] static Image view(std::uint8_t* pixels, std::uint16_t width,
                                    std::uint16_t height);
    /// A view of three-channel pixels owned by somebody else.
    [[nodiscard]] static Image view(std::uint8_t* pixels, std::uint16_t width, std::uint16_t height,
                                    Format format, ColorSpace colorSpace);

    /// Takes this size and description; keeps the buffer when it is owned and its size fits, else
    /// owns a new one. The pixels are undefined afterwards.
    void reshape(std::uint16_t width, std::uint16_t height, std::uint8_t channels = 1,
                 Format format = Format::None, ColorSpace colorSpace = ColorSpace::None);

    /// Normalises a single-channel image's description.
    /// Throws ImageException for a colour image without format or colour space.
    void checkConsistency();

    [[nodiscard]] std::uint16_t width() const { return _width; }

    [[nodiscard]] std::uint16_t height() const { return _height; }

    [[nodiscard]] std::uint8_t channels() const { return _channels; }

    [[nodiscard]] std::uint8_t bytesPerPixel() const { return _channels; }

    [[nodiscard]] Format format() const { return _format; }

    [[nodiscard]] ColorSpace colorSpace() const { return _colorSpace; }

    [[nodiscard]] bool ownsData() const { return _owned != nullptr; }

    [[nodiscard]] bool empty() const { return byteCount() == 0; }

    [[nodiscard]] std::size_t pixelCount() const { return std::size_t{_width} * _height; }

    [[nodiscard]] std::size_t byteCount() const { return pixelCount() * _channels; }

    [[nodiscard]] std::uint8_t* data()
    {
        complete();
        return _data;
    }

    [[nodiscard]] const std::uint8_t* data() const
    {
        complete();
        return _data;
    }

    [[nodiscard]] std::span<std::uint8_t> bytes() { return {data(), byteCount()}; }

    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {data(), byteCount()}; }

    /// The pixels of a binary picture, one bit each, as long as nobody has asked for the bytes; may
    /// be changed. Null: the bytes are what counts.
    [[nodiscard]] virtual CompressedBinaryImage* packed() { return nullptr; }

    /// The pixels follow their description without a count in front. A decoder takes 1 or 3
    /// channels, known formats and at most MAX_BYTES, before it asks for memory.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

protected:
    /// Puts off filling in the bytes until somebody asks for them: they may never be wanted.
    void postponeBytes() { _postponed = true; }

    [[nodiscard]] bool bytesPostponed() const { return _postponed; }

private:
    /// Fills in bytes that were put off.
    virtual void fill(std::span<std::uint8_t> /*bytes*/) const {}

    void complete() const
    {
        if (_postponed) {
            _postponed = false;
            fill({_data, byteCount()});
        }
    }

    mutable bool _postponed = false;
    std::unique_ptr<std::uint8_t[]> _owned; ///< null in a view
    std::size_t _capacity = 0;              ///< bytes in _owned
    std::uint8_t* _data = nullptr;
    std::uint16_t _width = 0;
    std::uint16_t _height = 0;
    std::uint8_t _channels = 1;
    Format _format = Format::None;
    ColorSpace _colorSpace = ColorSpace::None;
};

template <class S, class Self>
void Image::serialize(S& s, Self& self)
{
    using io::serialization::field;
    if constexpr (S::isEncoder()) {
        s& field("Channels", self._channels) & field("Format", self._format) &
            field("ColorSpace", self._colorSpace) & field("Width", self._width) &
            field("Height", self._height);
    } else {
        std::uint8_t channels = 0;
        std::uint8_t format = 0;
        std::uint8_t colorSpace = 0;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
        s& field("Channels", channels) & field("Format", format) & field("ColorSpace", colorSpace) &
            field("Width", width) & field("Height", height);
        if (channels != 1 && channels != 3) {
            throw ImageException("Images have 1 or 3 channels, not " + std::to_string(channels) +
                                 ".");
        }
        s.checkCount("Format", format, static_cast<int>(Format::Planar));
        s.checkCount("ColorSpace", colorSpace, static_cast<int>(ColorSpace::HSV));
        const std::uint64_t size = std::uint64_t{channels} * width * height;
        s.checkCount("Image size in bytes", static_cast<std::int64_t>(size),
                     static_cast<std::int64_t>(MAX_BYTES));
        self.reshape(width, height, channels, static_cast<Format>(format),
                     static_cast<ColorSpace>(colorSpace));
    }
    s.bytes("data", self.bytes());
}

} // namespace tarvik::image
