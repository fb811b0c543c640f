#pragma once

#include "image/ByteWindow.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

/// Arithmetic on all the bytes of a machine word at once, for processors without byte vectors
/// (Lamport, "Multiple byte processing with full-word instructions", 1975).
namespace tarvik::image::words {

using Word = std::size_t;

/// The byte in every place of the word.
[[nodiscard]] constexpr Word broadcast(std::uint8_t byte)
{
    return ~Word{0} / 255 * byte;
}

/// The address of a whole word. Elsewhere, processors without byte vectors often load and store
/// byte by byte.
[[nodiscard]] inline bool isAligned(const std::uint8_t* bytes)
{
    return reinterpret_cast<std::uintptr_t>(bytes) % sizeof(Word) == 0;
}

/// From an aligned address.
[[nodiscard]] inline Word load(const std::uint8_t* bytes)
{
    Word word = 0;
    std::memcpy(&word, std::assume_aligned<sizeof(Word)>(bytes), sizeof word);
    return word;
}

/// To an aligned address.
inline void store(std::uint8_t* bytes, Word word)
{
    std::memcpy(std::assume_aligned<sizeof(Word)>(bytes), &word, sizeof word);
}

/// A ByteWindow, prepared for words.
class WindowTest
{
public:
    explicit constexpr WindowTest(ByteWindow window)
        : _low(broadcast(window.low()) & ~HIGH),
          _lowHigh(~broadcast(window.low()) & HIGH),
          _room(broadcast(static_cast<std::uint8_t>(255 - window.extent()))),
          _flip(broadcast(window.complement() ? 0 : 255))
    {}

    /// 255 in each byte that lies inside the window, 0 in the others.
    [[nodiscard]] constexpr Word inside(Word bytes) const
    {
        const Word outside = outsideInterval(bytes);
        return (outside | (outside - (outside >> 7))) ^ _flip;
    }

    /// The top bit of each byte that lies inside the window.
    [[nodiscard]] constexpr Word insideBits(Word bytes) const
    {
        return (outsideInterval(bytes) ^ _flip) & HIGH;
    }

    static constexpr Word HIGH = broadcast(0x80);

private:
    /// The top bit of each byte that lies outside low ... low + extent.
    [[nodiscard]] constexpr Word outsideInterval(Word bytes) const
    {
        // No borrow leaves a byte while its top bit is set; those bits are then put right.
        const Word distance = ((bytes | HIGH) - _low) ^ ((bytes & HIGH) ^ _lowHigh);
        // A byte is outside when distance + room carries out of it.
        const Word sum = (distance & ~HIGH) + (_room & ~HIGH);
        return ((distance & _room) | ((distance | _room) & sum)) & HIGH;
    }

    Word _low;
    Word _lowHigh;
    Word _room;
    Word _flip;
};

} // namespace tarvik::image::words
