#pragma once

#include "ocamera/simulated/Raster.h"
#include "ocamera/simulated/Shape.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace OCamera::simulated {

/// What the synthetic scene shows.
struct SceneOptions
{
    static constexpr int MAX_PARTS = 25;
    static constexpr int MAX_NOISE = 40;

    std::uint32_t seed = 1;
    int parts = 9;         ///< in view at a time, 1 to MAX_PARTS; a touching pair counts as one
    int noise = 8;         ///< grey levels; 0: none, at most MAX_NOISE
    bool standing = false; ///< the belt stands still and exactly `parts` turn in full view

    /// From 13 parts on, they are smaller and none touch.
    static constexpr int MAX_LARGE_PARTS = 12;
};

/// Where a part truly is, for comparison with what was recognised.
struct ScenePart
{
    Kind kind;
    std::int32_t x;         ///< of the outline's centroid, 1/256 pixel from the picture's left edge
    std::int32_t y;         ///< from its top edge
    std::uint16_t rotation; ///< from +x towards +y, 65536 = full turn; 0 as in partAlone()
    bool touching;          ///< it touches the part before or after it in the list
    bool clipped;           ///< it reaches over the picture's edge
};

/// A conveyor belt seen from above: bright parts of several kinds, most with holes, drift from
/// left to right over a dark belt and turn as they go, in slightly uneven light.
///
/// The same options and frame number give the same bytes on every machine. Parts never touch by
/// accident; now and then a pair is joined by a thin neck. A grey threshold of 128 separates parts
/// and belt at every picture size. The scene scales with the picture's width, 640 units wide.
///
/// Threads: one at a time per object, which keeps buffers from picture to picture.
class Scene
{
public:
    explicit Scene(const SceneOptions& options = {});

    /// Draws a frame, one byte per pixel.
    void grey(std::uint32_t frame, int width, int height, std::span<std::uint8_t> picture);

    /// Draws a frame in colour: red, green, blue of each pixel in turn. Each kind has its hue.
    void rgb(std::uint32_t frame, int width, int height, std::span<std::uint8_t> picture);

    /// The parts of which anything is in the picture; a touching pair's two parts follow each
    /// other.
    [[nodiscard]] std::vector<ScenePart> parts(std::uint32_t frame, int width, int height) const;

    /// A part alone in the middle of the belt, for teaching.
    void greyPartAlone(Kind kind, std::uint16_t rotation, int width, int height,
                       std::span<std::uint8_t> picture);
    void rgbPartAlone(Kind kind, std::uint16_t rotation, int width, int height,
                      std::span<std::uint8_t> picture);

private:
    /// Colours of one picture: channel values of belt and parts, at full light.
    struct Palette;

    void draw(std::uint32_t frame, const std::vector<ScenePart>& parts, const Palette& palette,
              int width, int height, std::span<std::uint8_t> picture);
    template <std::size_t CHANNELS>
    void drawBelt(std::uint32_t frame, const Palette& palette,
                  std::span<std::uint8_t> picture) const;
    void drawShadow(const Mask& mask, std::size_t channels, std::span<std::uint8_t> picture) const;
    void drawPart(const Mask& mask, std::span<const std::int32_t> colour,
                  std::span<std::uint8_t> picture) const;
    void addNoise(std::uint32_t frame, std::size_t channels, std::span<std::uint8_t> picture) const;
    void fillMask(const ScenePart& part, Mask& mask);
    void light(int width, int height);

    SceneOptions _options;
    std::vector<std::int8_t> _noise;  ///< drawn from at changing offsets
    std::vector<std::uint8_t> _weave; ///< belt texture, added
    std::vector<std::uint8_t> _light; ///< of each pixel, 255 = full; for the current picture size
    int _width = 0;
    int _height = 0;
    Raster _raster;
    std::vector<std::vector<Point>> _contours;
    std::vector<Mask> _masks;
};

} // namespace OCamera::simulated
