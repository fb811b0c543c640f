#pragma once

#include "analysis/Object.h"
#include "database/Template.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryInputStream.h"
#include "io/stream/MemoryOutputStream.h"
#include "support/Points.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tarvik::test {

/// A hole as far as comparing is concerned.
struct Hole
{
    std::int16_t x; ///< raw fp<16, 14>, relative to the object
    std::int16_t y;
    int length = 4000; ///< raw fp<32, 15>, a multiple of 4
};

struct Coefficient
{
    int frequency; ///< -7 ... 7
    std::int16_t re;
    std::int16_t im;
};

inline analysis::FourierDescriptor descriptor(const std::vector<Coefficient>& coefficients,
                                              int rotation = 0)
{
    analysis::FourierDescriptor::Frequencies all{};
    for (const Coefficient& c : coefficients) {
        const int index = analysis::FourierDescriptor::CENTRE + c.frequency;
        all[static_cast<std::size_t>(index)] = Complex<16, 15>::fromRaw(c.re, c.im);
    }
    analysis::FourierDescriptor d;
    d.setFrequencies(all);
    d.rotate(fp<32, 15>(rotation), false);
    return d;
}

inline void addHole(analysis::Object& object, const Hole& hole)
{
    // There and back: four times the raw fp<16, 14> distance is the length in fp<32, 15>.
    analysis::Polygon& polygon = object.addInnerContour()->polygon;
    polygon = polygonOf({at(0, 0), at(hole.length / 4, 0), at(0, 0)});
    polygon.moveTo(at(hole.x, hole.y));
}

inline analysis::Object objectOf(const analysis::FourierDescriptor& shape,
                                 const std::vector<Hole>& holes = {})
{
    analysis::Object object;
    object.fourierDescriptor() = shape;
    for (const Hole& hole : holes) {
        addHole(object, hole);
    }
    return object;
}

/// A template as a client could send it, with every compared value chosen by hand.
struct TemplateSpec
{
    struct Measures
    {
        fp<32, 15> length;
        fp<32, 28> distance;
        fp<32, 15> angle;
    };

    std::int32_t id = 0;
    analysis::FourierDescriptor shape{};
    analysis::FourierDescriptor shapeRotated{};
    fp<32, 15> rotation{};
    Complex<16, 15> gripPoint{};
    bool considerInnerContours = true;
    std::vector<Measures> holes{};
    fp<32, 15> firstAngle{};
};

inline std::vector<std::byte> encoded(const TemplateSpec& t)
{
    using io::serialization::field;
    io::stream::MemoryOutputStream out;
    io::serialization::BinaryEncoder<io::stream::MemoryOutputStream> s(out);
    const fp<32, 15> zero;
    const bool active = true;
    const auto holeCount = static_cast<std::int32_t>(t.holes.size());
    const analysis::Polygon outline;
    const analysis::InnerContour contour;
    s& field("ID", t.id) & field("GripPoint", t.gripPoint) & field("GripHeight", zero) &
        field("GripRotation", zero) & field("Rotation", t.rotation) & field("Height", zero) &
        field("Polygon", outline) & field("ConsiderInnerContours", t.considerInnerContours) &
        field("InnerContourCount", holeCount);
    for (const TemplateSpec::Measures& hole : t.holes) {
        s& field("InnerContour", contour) & field("IsActive", active) &
            field("Length", hole.length) & field("Distance", hole.distance) &
            field("Angle", hole.angle);
    }
    s& field("FirstInnerContourAngle", t.firstAngle) & field("FourierDescriptor", t.shape) &
        field("FourierDescriptorRotated", t.shapeRotated);
    return {out.bytes().begin(), out.bytes().end()};
}

inline database::Template makeTemplate(const TemplateSpec& spec)
{
    const auto bytes = encoded(spec);
    io::stream::MemoryInputStream in(bytes);
    io::serialization::BinaryDecoder<io::stream::MemoryInputStream> decoder(in);
    database::Template t;
    decoder& io::serialization::field("Template", t);
    return t;
}

} // namespace tarvik::test
