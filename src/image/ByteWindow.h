#pragma once

#include <cstdint>

namespace tarvik::image {

/// A set of byte values to threshold with: an interval, both bounds included, that may run past 255
/// and go on at 0, or everything outside of one.
///
/// With the difference taken modulo 256 all of them are one test, v - low <= extent, and its
/// complement.
class ByteWindow
{
public:
    /// low <= v <= high; nothing when low > high.
    [[nodiscard]] static constexpr ByteWindow interval(std::uint8_t low, std::uint8_t high)
    {
        return low <= high ? wrapping(low, high) : wrapping(0, 255).inverted(true);
    }

    /// From low upwards to high, by way of 255 and 0 when high < low: an interval of hues.
    [[nodiscard]] static constexpr ByteWindow wrapping(std::uint8_t low, std::uint8_t high)
    {
        return {low, static_cast<std::uint8_t>(high - low), false};
    }

    /// The other values when `invert` is set, else the same ones.
    [[nodiscard]] constexpr ByteWindow inverted(bool invert) const
    {
        return {_low, _extent, _complement != invert};
    }

    [[nodiscard]] constexpr bool contains(std::uint8_t v) const
    {
        return (static_cast<std::uint8_t>(v - _low) <= _extent) != _complement;
    }

    [[nodiscard]] constexpr std::uint8_t low() const { return _low; }

    /// Number of values from low to high, less one.
    [[nodiscard]] constexpr std::uint8_t extent() const { return _extent; }

    /// The window is what lies outside of low ... low + extent.
    [[nodiscard]] constexpr bool complement() const { return _complement; }

private:
    constexpr ByteWindow(std::uint8_t low, std::uint8_t extent, bool complement)
        : _low(low),
          _extent(extent),
          _complement(complement)
    {}

    std::uint8_t _low;
    std::uint8_t _extent;
    bool _complement;
};

} // namespace tarvik::image
