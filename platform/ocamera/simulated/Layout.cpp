#include "ocamera/simulated/Layout.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace OCamera::simulated {

namespace {

constexpr std::int32_t UNIT = 256;
constexpr std::int32_t VIEW_WIDTH = 640 * UNIT;
constexpr std::int32_t MARGIN = 20 * UNIT; ///< keeps parts clear of the upper and lower edge
constexpr std::int32_t TRAVEL = UNIT;      ///< per frame
constexpr std::int32_t JITTER = 6 * UNIT;
constexpr std::int32_t REACH = 90 * UNIT; ///< a cell's centre this far outside shows nothing
constexpr std::int32_t MAX_SPIN = FULL_TURN / 400; ///< per frame: almost one degree

/// What the random numbers of a cell decide; the numbers themselves mean nothing.
enum Purpose : std::uint32_t
{
    ORDER_OF_ROWS,
    ORDER_OF_KINDS,
    JITTER_X,
    JITTER_Y,
    ROTATION,
    SPIN,
};

constexpr std::int64_t floorDivided(std::int64_t a, std::int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

/// The i-th of n numbers in a random order that belongs to `key`.
template <std::size_t MAX>
std::size_t shuffled(std::uint32_t seed, std::int64_t key, Purpose purpose, std::size_t n,
                     std::size_t i)
{
    std::array<std::size_t, MAX> order{};
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (std::size_t left = n; left > 1; --left) { // Fisher and Yates
        const std::uint32_t random =
            mixed(seed, static_cast<std::uint64_t>(key) * MAX + left, purpose);
        std::swap(order[left - 1], order[random % left]);
    }
    return order[i];
}

} // namespace

Layout::Layout(const SceneOptions& options, std::int32_t viewHeight)
    : _options(options),
      _small(options.parts > SceneOptions::MAX_LARGE_PARTS),
      _columns(_small ? 5 : 4),
      _rows(_small ? 5 : 3),
      _rowPitch((viewHeight - 2 * MARGIN) / _rows),
      _columnPitch((options.standing ? VIEW_WIDTH - 2 * MARGIN : VIEW_WIDTH) / _columns)
{}

std::vector<ScenePart> Layout::parts(std::uint32_t frame) const
{
    std::vector<ScenePart> parts;
    if (_options.standing) {
        for (int column = 0; column < _columns; ++column) {
            const std::int64_t x = MARGIN + _columnPitch * column + _columnPitch / 2;
            appendColumn(column, x, frame, parts);
        }
        return parts;
    }
    // Column c has its centre at travelled - c * pitch: the higher its number, the later it comes.
    const std::int64_t travelled = std::int64_t{frame} * TRAVEL + VIEW_WIDTH;
    const std::int64_t first = floorDivided(travelled - VIEW_WIDTH - REACH, _columnPitch);
    const std::int64_t last = floorDivided(travelled + REACH, _columnPitch);
    for (std::int64_t column = first; column <= last; ++column) {
        appendColumn(column, travelled - column * _columnPitch, frame, parts);
    }
    return parts;
}

void Layout::appendColumn(std::int64_t column, std::int64_t x, std::uint32_t frame,
                          std::vector<ScenePart>& parts) const
{
    // Parts are spread evenly: any `_columns` neighbouring columns hold `_options.parts` of them.
    const std::int64_t begin = floorDivided(column * _options.parts, _columns);
    const std::int64_t end = floorDivided((column + 1) * _options.parts, _columns);
    const auto rows = static_cast<std::size_t>(_rows);
    for (std::int64_t number = begin; number < end; ++number) {
        const auto row = static_cast<std::int32_t>(shuffled<5>(
            _options.seed, column, ORDER_OF_ROWS, rows, static_cast<std::size_t>(number - begin)));
        // Neighbouring rows are staggered, which keeps large parts further apart.
        const std::int32_t stagger = (row % 2 == 0 ? -_columnPitch : _columnPitch) / 8;
        const Point cell{static_cast<std::int32_t>(x) + stagger,
                         MARGIN + _rowPitch * row + _rowPitch / 2};
        appendCell(number, cell, frame, parts);
    }
}

void Layout::appendCell(std::int64_t number, Point cell, std::uint32_t frame,
                        std::vector<ScenePart>& parts) const
{
    const auto key = static_cast<std::uint64_t>(number);
    const std::uint32_t start = mixed(_options.seed, key, ROTATION);
    const std::uint32_t spin = mixed(_options.seed, key, SPIN) % (2 * MAX_SPIN) - MAX_SPIN;
    const auto rotation = static_cast<std::uint16_t>(start + spin * frame);

    // Every kind comes once before any comes again; large parts include the touching pair.
    const std::size_t choices = KINDS.size() + (_small ? 0 : 1);
    const auto bag = static_cast<std::int64_t>(choices);
    const std::int64_t round = floorDivided(number, bag);
    const std::size_t choice =
        shuffled<KINDS.size() + 1>(_options.seed, round, ORDER_OF_KINDS, choices,
                                   static_cast<std::size_t>(number - round * bag));
    if (choice < KINDS.size()) {
        const Point p{cell.x + jitter(number, JITTER_X), cell.y + jitter(number, JITTER_Y)};
        parts.push_back({KINDS[choice], p.x, p.y, rotation, false, false});
        return;
    }
    const TouchingPair& pair = touchingPair();
    const Rotation turned(rotation);
    const Point first = turned(pair.firstOffset);
    const Point second = turned(pair.secondOffset);
    const auto secondRotation = static_cast<std::uint16_t>(rotation + pair.secondRotation);
    parts.push_back({pair.first, cell.x + first.x, cell.y + first.y, rotation, true, false});
    parts.push_back(
        {pair.second, cell.x + second.x, cell.y + second.y, secondRotation, true, false});
}

std::int32_t Layout::jitter(std::int64_t number, std::uint32_t purpose) const
{
    const std::int32_t most = _small ? JITTER / 3 : JITTER;
    const std::uint32_t random = mixed(_options.seed, static_cast<std::uint64_t>(number), purpose);
    return static_cast<std::int32_t>(random % static_cast<std::uint32_t>(2 * most + 1)) - most;
}

} // namespace OCamera::simulated
