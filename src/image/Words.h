#pragma once

#include "image/ByteWindow.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Arithmetic on all the bytes of a machine word at once, for processors without byte vectors
/// (Lamport, "Multiple byte processing with full-word instructions", 1975).
namespace tarvik::image::words {

using Word = std::size_t;

/// The byte in every place of the word.
[[nodiscard]] constexpr Word broadcast(std::uint8_t byte)
{
    return ~Word{0} / 255 * byte;
}

[[nodiscard]] inline Word load(const std::uint8_t* bytes)
{
    Word word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline void store(std::uint8_t* bytes, Word word)
{
    std::memcpy(bytes, &word, sizeof word);
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
        // No borrow leaves a byte while its top bit is set; those bits are then put right.
        const Word distance = ((bytes | HIGH) - _low) ^ ((bytes & HIGH) ^ _lowHigh);
        // A byte is outside when distance + room carries out of it.
        const Word sum = (distance & ~HIGH) + (_room & ~HIGH);
        const Word carries = ((distance & _room) | ((distance | _room) & sum)) & HIGH;
        const Word outside = carries | (carries - (carries >> 7));
        return outside ^ _flip;
    }

private:
    static constexpr Word HIGH = broadcast(0x80);

    Word _low;
    Word _lowHigh;
    Word _room;
    Word _flip;
};

} // namespace tarvik::image::words
