#pragma once

#include "core/serialization/Fields.h"
#include "core/util/Factory.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>
#include <string>
#include <vector>

/// Objects that have one field of every kind, as the real ones above this folder have them.
namespace tarvik::test {

namespace fields = io::serialization;

enum class Colour : std::int32_t
{
    Red = 0,
    Blue = 2,
};

struct Inner
{
    std::int16_t number = 0;

    friend bool operator==(const Inner&, const Inner&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& fields::field("Number", self.number);
    }
};

struct Everything
{
    bool flag = false;
    char letter = 0;
    std::uint8_t byte = 0;
    std::int16_t small = 0;
    std::uint16_t port = 0;
    std::int32_t number = 0;
    std::uint32_t size = 0;
    std::int64_t elapsed = 0;
    std::uint64_t mask = 0;
    Colour colour = Colour::Red;
    fp<16, 15> fraction;
    fp<32, 30> error;
    Complex<16, 14> point;
    Complex<32, 15> column;
    std::string name;
    Inner inner;
    std::vector<Complex<16, 14>> points;
    std::vector<Inner> inners;

    friend bool operator==(const Everything&, const Everything&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using fields::field;
        s& field("Flag", self.flag) & field("Letter", self.letter) & field("Byte", self.byte) &
            field("Small", self.small) & field("Port", self.port) & field("Number", self.number) &
            field("Size", self.size) & field("Elapsed", self.elapsed) & field("Mask", self.mask) &
            field("Colour", self.colour) & field("Fraction", self.fraction) &
            field("Error", self.error) & field("Point", self.point) & field("Column", self.column) &
            fields::text("Name", self.name, 16) & field("Inner", self.inner) &
            fields::array("Points", self.points, 0, 3) & fields::array("Inners", self.inners, 0, 3);
    }
};

inline Everything sampleEverything()
{
    Everything e;
    e.flag = true;
    e.letter = static_cast<char>(0xFE);
    e.byte = 200;
    e.small = -2;
    e.port = 7453;
    e.number = -2000000000;
    e.size = 4000000000U;
    e.elapsed = -5000000000;
    e.mask = 0xF000000000000001U;
    e.colour = Colour::Blue;
    e.fraction = fp<16, 15>(-16384);
    e.error = fp<32, 30>(1 << 29);
    e.point = Complex<16, 14>::fromRaw(16384, -8192);
    e.column = Complex<32, 15>::fromRaw(-32768, 98304);
    e.name = "Server";
    e.inner.number = 7;
    e.points = {Complex<16, 14>::fromRaw(4096, -4096)};
    e.inners = {Inner{1}, Inner{-1}};
    return e;
}

/// Two implementations of nothing in particular.
class Shape
{
public:
    virtual ~Shape() = default;
};

class Circle : public Shape
{};

class Square : public Shape
{};

class ShapeFactory : public util::Factory<Shape>
{
public:
    ShapeFactory()
    {
        addImplementation(new TypedImplementation<Circle>("Circle", "Round."));
        addImplementation(new TypedImplementation<Square>("Square", "Not round."));
    }
};

} // namespace tarvik::test
