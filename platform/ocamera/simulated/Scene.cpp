#include "ocamera/simulated/Scene.h"

#include "ocamera/simulated/Layout.h"

#include <algorithm>
#include <array>

namespace OCamera::simulated {

namespace {

constexpr std::int32_t VIEW_WIDTH = 640;
constexpr std::size_t NOISE_SIZE = 1U << 16;
constexpr std::size_t WEAVE_SIZE = 1U << 14;
constexpr std::uint32_t FRAME_PURPOSE = 0x66726D00; ///< keeps frame noise apart from the layout's

constexpr std::array<std::int32_t, 3> BELT{52, 60, 76}; // grey-blue
constexpr std::int32_t BELT_GREY = 62;
constexpr std::int32_t PART_GREY = 208;

/// Light falls off from the upper left to the lower right, by about a seventh altogether.
constexpr std::int32_t BRIGHTEST = 255;
constexpr std::int32_t FALL_OFF = 36;

/// Bevel: upper left edges are lighter by this, lower right ones darker.
constexpr std::int32_t SHADE = 16;

std::vector<std::int8_t> makeNoise(std::uint32_t seed, int amplitude)
{
    std::vector<std::int8_t> noise(NOISE_SIZE);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        // The sum of four uniform numbers is near enough to a bell curve.
        const std::uint32_t r = mixed(seed, i, FRAME_PURPOSE);
        const auto sum =
            static_cast<int>((r & 0xFF) + (r >> 8 & 0xFF) + (r >> 16 & 0xFF) + (r >> 24));
        noise[i] = static_cast<std::int8_t>((sum - 510) * amplitude / 340);
    }
    return noise;
}

/// Fine diagonal weave of the belt, a few grey levels.
std::vector<std::uint8_t> makeWeave(std::uint32_t seed)
{
    std::vector<std::uint8_t> weave(WEAVE_SIZE);
    for (std::size_t i = 0; i < weave.size(); ++i) {
        const std::size_t phase = i % 12;
        const std::uint32_t speck = mixed(seed, i / 2, FRAME_PURPOSE + 1) % 3;
        weave[i] = static_cast<std::uint8_t>((phase < 6 ? phase : 11 - phase) + speck);
    }
    return weave;
}

/// Walks a ring-shaped table from a start on, in runs that do not wrap round, which the compiler
/// can vectorize: run(entries done, place in the table, entries in this run).
template <class Run>
void forEachRun(std::size_t start, std::size_t count, std::size_t size, Run run)
{
    for (std::size_t done = 0; done < count;) {
        const std::size_t from = (start + done) % size;
        const std::size_t length = std::min(count - done, size - from);
        run(done, from, length);
        done += length;
    }
}

std::uint8_t clampedToByte(std::int32_t value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

ScenePart partInTheMiddle(Kind kind, std::uint16_t rotation, int width, int height)
{
    return {kind, width * 128, height * 128, rotation, false, false};
}

} // namespace

struct Scene::Palette
{
    std::size_t channels;
    std::array<std::array<std::int32_t, 3>, KINDS.size()> parts;
    std::array<std::int32_t, 3> belt;

    static Palette grey()
    {
        Palette palette{1, {}, {BELT_GREY}};
        for (auto& part : palette.parts) {
            part[0] = PART_GREY;
        }
        return palette;
    }

    static Palette rgb()
    {
        Palette palette{3, {}, BELT};
        for (const Kind kind : KINDS) {
            const Colour& c = shapeOf(kind).colour;
            palette.parts[static_cast<std::size_t>(kind)] = {c.red, c.green, c.blue};
        }
        return palette;
    }
};

Scene::Scene(const SceneOptions& options)
    : _options(options),
      _noise(makeNoise(options.seed, std::clamp(options.noise, 0, SceneOptions::MAX_NOISE))),
      _weave(makeWeave(options.seed))
{
    _options.parts = std::clamp(_options.parts, 1, SceneOptions::MAX_PARTS);
}

void Scene::grey(std::uint32_t frame, int width, int height, std::span<std::uint8_t> picture)
{
    draw(frame, parts(frame, width, height), Palette::grey(), width, height, picture);
}

void Scene::rgb(std::uint32_t frame, int width, int height, std::span<std::uint8_t> picture)
{
    draw(frame, parts(frame, width, height), Palette::rgb(), width, height, picture);
}

std::vector<ScenePart> Scene::parts(std::uint32_t frame, int width, int height) const
{
    const auto toPixels = [width](std::int32_t v) {
        return static_cast<std::int32_t>(std::int64_t{v} * width / VIEW_WIDTH);
    };
    const bool small = _options.parts > SceneOptions::MAX_LARGE_PARTS;
    std::vector<ScenePart> visible;
    const auto viewHeight =
        static_cast<std::int32_t>(std::int64_t{height} * 256 * VIEW_WIDTH / width);
    for (ScenePart part : Layout(_options, viewHeight).parts(frame)) {
        part.x = toPixels(part.x);
        part.y = toPixels(part.y);
        std::int32_t left = INT32_MAX;
        std::int32_t right = INT32_MIN;
        std::int32_t top = INT32_MAX;
        std::int32_t bottom = INT32_MIN;
        const Rotation turned(part.rotation);
        for (const Point& p : shapeOf(part.kind).contours.front()) {
            const Point q = turned(p);
            left = std::min(left, q.x);
            right = std::max(right, q.x);
            top = std::min(top, q.y);
            bottom = std::max(bottom, q.y);
        }
        left = part.x + toPixels(scaledForCrowd(left, small));
        right = part.x + toPixels(scaledForCrowd(right, small));
        top = part.y + toPixels(scaledForCrowd(top, small));
        bottom = part.y + toPixels(scaledForCrowd(bottom, small));
        if (right <= 0 || left >= width * 256 || bottom <= 0 || top >= height * 256) {
            continue;
        }
        part.clipped = left < 0 || right > width * 256 || top < 0 || bottom > height * 256;
        visible.push_back(part);
    }
    return visible;
}

void Scene::greyPartAlone(Kind kind, std::uint16_t rotation, int width, int height,
                          std::span<std::uint8_t> picture)
{
    draw(0, {partInTheMiddle(kind, rotation, width, height)}, Palette::grey(), width, height,
         picture);
}

void Scene::rgbPartAlone(Kind kind, std::uint16_t rotation, int width, int height,
                         std::span<std::uint8_t> picture)
{
    draw(0, {partInTheMiddle(kind, rotation, width, height)}, Palette::rgb(), width, height,
         picture);
}

void Scene::draw(std::uint32_t frame, const std::vector<ScenePart>& parts, const Palette& palette,
                 int width, int height, std::span<std::uint8_t> picture)
{
    light(width, height);
    if (palette.channels == 1) {
        drawBelt<1>(frame, palette, picture);
    } else {
        drawBelt<3>(frame, palette, picture);
    }
    _masks.resize(std::max(_masks.size(), parts.size()));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        fillMask(parts[i], _masks[i]);
        drawShadow(_masks[i], palette.channels, picture);
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto& colour = palette.parts[static_cast<std::size_t>(parts[i].kind)];
        drawPart(_masks[i], std::span(colour).first(palette.channels), picture);
    }
    if (_options.noise > 0) {
        addNoise(frame, palette.channels, picture);
    }
}

void Scene::light(int width, int height)
{
    if (width == _width && height == _height) {
        return;
    }
    _width = width;
    _height = height;
    _light.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::size_t i = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::int64_t away =
                2 * std::int64_t{x} * x * height + std::int64_t{y} * y * width;
            const std::int64_t furthest =
                2 * std::int64_t{width} * width * height + std::int64_t{height} * height * width;
            _light[i++] = static_cast<std::uint8_t>(BRIGHTEST - FALL_OFF * away / furthest);
        }
    }
}

template <std::size_t CHANNELS>
void Scene::drawBelt(std::uint32_t frame, const Palette& palette,
                     std::span<std::uint8_t> picture) const
{
    std::array<std::uint16_t, CHANNELS> belt{}; // 16 bits: products stay below, loops vectorize
    std::transform(palette.belt.begin(), palette.belt.begin() + CHANNELS, belt.begin(),
                   [](std::int32_t v) { return static_cast<std::uint16_t>(v); });
    const auto width = static_cast<std::size_t>(_width);
    const std::size_t shift =
        _options.standing ? 0 : std::size_t{frame} * width / VIEW_WIDTH; // the belt moves one unit
    for (std::size_t y = 0; y < static_cast<std::size_t>(_height); ++y) {
        const std::size_t start = y * 5 + WEAVE_SIZE - shift % WEAVE_SIZE;
        forEachRun(start, width, WEAVE_SIZE, [&](std::size_t x0, std::size_t from, std::size_t n) {
            const std::uint8_t* lit = _light.data() + y * width + x0;
            const std::uint8_t* weave = _weave.data() + from;
            std::uint8_t* out = picture.data() + (y * width + x0) * CHANNELS;
            for (std::size_t x = 0; x < n; ++x) {
                for (std::size_t c = 0; c < CHANNELS; ++c) {
                    out[x * CHANNELS + c] = static_cast<std::uint8_t>(
                        static_cast<std::uint16_t>((belt[c] + weave[x]) * lit[x]) >> 8);
                }
            }
        });
    }
}

void Scene::fillMask(const ScenePart& part, Mask& mask)
{
    const bool small = _options.parts > SceneOptions::MAX_LARGE_PARTS;
    const Rotation turned(part.rotation);
    const Shape& shape = shapeOf(part.kind);
    _contours.resize(shape.contours.size());
    for (std::size_t i = 0; i < _contours.size(); ++i) {
        _contours[i].clear();
        for (const Point& p : shape.contours[i]) {
            const Point q = turned(p);
            const auto pixels = [&](std::int32_t v) {
                return static_cast<std::int32_t>(std::int64_t{scaledForCrowd(v, small)} * _width /
                                                 VIEW_WIDTH);
            };
            _contours[i].push_back({part.x + pixels(q.x), part.y + pixels(q.y)});
        }
    }
    _raster.fill(_contours, _width, _height, mask);
}

void Scene::drawShadow(const Mask& mask, std::size_t channels,
                       std::span<std::uint8_t> picture) const
{
    const int offset = std::max(4 * _width / VIEW_WIDTH, 1);
    for (int y = 0; y < std::min(mask.height, _height - mask.top - offset); ++y) {
        const int lastX = std::min(mask.width, _width - mask.left - offset);
        auto i = static_cast<std::size_t>(std::ptrdiff_t{mask.top + y + offset} * _width +
                                          mask.left + offset);
        const std::uint8_t* coverage = mask.coverage.data() + std::ptrdiff_t{y} * mask.width;
        for (int x = 0; x < lastX; ++x, ++i) {
            const int kept = 256 - coverage[x] * 110 / 256; // the shadow takes up to two fifths
            for (std::size_t c = 0; c < channels; ++c) {
                std::uint8_t& pixel = picture[i * channels + c];
                pixel = static_cast<std::uint8_t>(pixel * kept >> 8);
            }
        }
    }
}

void Scene::drawPart(const Mask& mask, std::span<const std::int32_t> colour,
                     std::span<std::uint8_t> picture) const
{
    const int bevel = std::max(2 * _width / VIEW_WIDTH, 1);
    for (int y = 0; y < mask.height; ++y) {
        auto i = static_cast<std::size_t>(std::ptrdiff_t{mask.top + y} * _width + mask.left);
        for (int x = 0; x < mask.width; ++x, ++i) {
            const int covered = mask.at(x, y);
            if (covered == 0) {
                continue;
            }
            const int slope = mask.at(x + bevel, y + bevel) - mask.at(x - bevel, y - bevel);
            for (std::size_t c = 0; c < colour.size(); ++c) {
                const std::int32_t lit = (colour[c] + slope * SHADE / 256) * _light[i] / 256;
                std::uint8_t& pixel = picture[i * colour.size() + c];
                pixel = clampedToByte(pixel + (lit - pixel) * covered / 255);
            }
        }
    }
}

void Scene::addNoise(std::uint32_t frame, std::size_t channels,
                     std::span<std::uint8_t> picture) const
{
    const std::size_t row = static_cast<std::size_t>(_width) * channels;
    for (std::size_t y = 0; y < static_cast<std::size_t>(_height); ++y) {
        std::uint8_t* out = picture.data() + y * row;
        const std::size_t start =
            mixed(_options.seed, std::uint64_t{frame} << 16 | y, FRAME_PURPOSE + 2);
        forEachRun(start, row, NOISE_SIZE, [&](std::size_t done, std::size_t from, std::size_t n) {
            const std::int8_t* noise = _noise.data() + from;
            for (std::size_t k = 0; k < n; ++k) {
                const auto noisy = static_cast<std::int16_t>(out[done + k] + noise[k]);
                out[done + k] = static_cast<std::uint8_t>(
                    std::clamp(noisy, std::int16_t{0}, std::int16_t{255}));
            }
        });
    }
}

} // namespace OCamera::simulated
