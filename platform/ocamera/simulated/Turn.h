#pragma once

#include <cstdint>

/// Angles as whole numbers: 65536 is a full turn, from +x towards +y (clockwise on a screen).
/// Everything is integer arithmetic, so that every compiler and machine draws the same picture.
namespace OCamera::simulated {

constexpr std::int32_t FULL_TURN = 65536;

/// Sine of a fraction of a turn, with 30 fractional bits. Taylor series up to the 11th power on
/// [-1/4, 1/4] turn, where the next term is below 1e-7.
constexpr std::int32_t sine(std::uint16_t turn)
{
    constexpr std::int64_t TWO_PI = 6746518852; // 2 pi, 30 fractional bits
    std::int64_t quarter = turn;
    if (quarter >= FULL_TURN * 3 / 4) {
        quarter -= FULL_TURN;
    } else if (quarter > FULL_TURN / 4) {
        quarter = FULL_TURN / 2 - quarter;
    }
    const std::int64_t x = quarter * TWO_PI / FULL_TURN;
    const std::int64_t xx = (x * x) >> 30;
    std::int64_t term = x;
    std::int64_t sum = x;
    for (int n = 2; n <= 10; n += 2) {
        term = -((term * xx) >> 30) / (std::int64_t{n} * (n + 1));
        sum += term;
    }
    constexpr std::int64_t ONE = std::int64_t{1} << 30;
    return static_cast<std::int32_t>(sum > ONE ? ONE : sum < -ONE ? -ONE : sum);
}

constexpr std::int32_t cosine(std::uint16_t turn)
{
    return sine(static_cast<std::uint16_t>(turn + FULL_TURN / 4));
}

/// A point or a vector; the unit belongs to whoever holds it.
struct Point
{
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend constexpr bool operator==(Point, Point) = default;
};

/// Turns points about the origin.
class Rotation
{
public:
    explicit constexpr Rotation(std::uint16_t turn) : _sine(sine(turn)), _cosine(cosine(turn)) {}

    [[nodiscard]] constexpr Point operator()(Point p) const
    {
        const std::int64_t x = p.x * _cosine - p.y * _sine;
        const std::int64_t y = p.x * _sine + p.y * _cosine;
        return {rounded(x), rounded(y)};
    }

private:
    static constexpr std::int32_t rounded(std::int64_t value)
    {
        return static_cast<std::int32_t>((value + (std::int64_t{1} << 29)) >> 30);
    }

    std::int64_t _sine;
    std::int64_t _cosine;
};

} // namespace OCamera::simulated
