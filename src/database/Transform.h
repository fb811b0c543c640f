#pragma once

#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

namespace tarvik::database {

/// From normalised image coordinates to the coordinates in which positions are reported.
///
/// Only combinedMatrix is applied here. A client composes it from the other fields, which are kept
/// for it unchanged.
struct Transform
{
    /// (x, y) becomes (column0.re x + column0.im y + column2.re,
    ///                 column1.re x + column1.im y + column2.im).
    struct Matrix
    {
        Complex<32, 15> column0{fp<32, 15>::ONE, fp<32, 15>::ZERO};
        Complex<32, 15> column1{fp<32, 15>::ZERO, fp<32, 15>::ONE};
        Complex<32, 15> column2;

        friend bool operator==(const Matrix&, const Matrix&) = default;

        /// Sums of 45 fractional bits in 64 bits, shifted right by 24.
        [[nodiscard]] Complex<32, 21> apply(Complex<16, 15> p) const
        {
            const auto row = [p](Complex<32, 15> factors, fp<32, 15> offset) {
                const std::int64_t sum = (std::int64_t{factors.re.raw()} * p.re.raw() +
                                          std::int64_t{factors.im.raw()} * p.im.raw()) *
                                             32768 +
                                         offset.scaleUp<45>().raw();
                return fp<32, 21>(wrapTo<std::int32_t>(sum >> 24));
            };
            return {row(column0, column2.re), row(column1, column2.im)};
        }

        template <class S, class Self>
        static void serialize(S& s, Self& self)
        {
            using io::serialization::field;
            s& field("column0", self.column0) & field("column1", self.column1) &
                field("column2", self.column2);
        }
    };

    Matrix baseMatrix;
    fp<32, 15> scaleX = fp<32, 15>::ONE;
    fp<32, 15> scaleY = fp<32, 15>::ONE;
    fp<32, 15> offsetX;
    fp<32, 15> offsetY;
    fp<32, 15> rotation;
    bool flipAxes = false;
    bool rotateFirst = false;
    Matrix combinedMatrix;

    friend bool operator==(const Transform&, const Transform&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("BaseMatrix", self.baseMatrix) & field("ScaleX", self.scaleX) &
            field("ScaleY", self.scaleY) & field("OffsetX", self.offsetX) &
            field("OffsetY", self.offsetY) & field("Rotation", self.rotation) &
            field("FlipAxes", self.flipAxes) & field("RotateFirst", self.rotateFirst) &
            field("CombinedMatrix", self.combinedMatrix);
    }
};

} // namespace tarvik::database
