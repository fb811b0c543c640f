#pragma once

#include "ocamera/simulated/Scene.h"

#include <cstdint>
#include <vector>

namespace OCamera::simulated {

/// Which parts lie where on an endless belt.
///
/// The belt is divided into columns that enter at the left one after the other, and those into
/// rows. A cell is larger than the largest part's circle and holds at most one part or pair, so
/// that nothing touches by accident however it turns. Lengths are in 1/256 unit; the picture is
/// 640 units wide.
class Layout
{
public:
    Layout(const SceneOptions& options, std::int32_t viewHeight);

    /// The parts of a frame, those just outside the view included; positions in 1/256 unit and
    /// not yet marked as clipped.
    [[nodiscard]] std::vector<ScenePart> parts(std::uint32_t frame) const;

private:
    void appendColumn(std::int64_t column, std::int64_t x, std::uint32_t frame,
                      std::vector<ScenePart>& parts) const;
    void appendCell(std::int64_t number, Point cell, std::uint32_t frame,
                    std::vector<ScenePart>& parts) const;
    [[nodiscard]] std::int32_t jitter(std::int64_t number, std::uint32_t purpose) const;

    SceneOptions _options;
    bool _small;
    int _columns;
    int _rows;
    std::int32_t _rowPitch;
    std::int32_t _columnPitch;
};

/// Parts shrink to three quarters when there are many.
[[nodiscard]] constexpr std::int32_t scaledForCrowd(std::int32_t length, bool small)
{
    return small ? length * 3 / 4 : length;
}

/// Well mixed 32 bits from three numbers (finalizer of the MurmurHash3 family).
[[nodiscard]] constexpr std::uint32_t mixed(std::uint32_t a, std::uint64_t b, std::uint32_t c)
{
    std::uint64_t h = (std::uint64_t{a} << 32 | c) ^ (b * 0x9E3779B97F4A7C15U);
    h = (h ^ (h >> 33)) * 0xFF51AFD7ED558CCDU;
    h = (h ^ (h >> 33)) * 0xC4CEB9FE1A85EC53U;
    return static_cast<std::uint32_t>((h ^ (h >> 33)) >> 16);
}

} // namespace OCamera::simulated
