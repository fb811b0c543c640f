#pragma once

#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace tarvik::analysis {

class Polygon;

/// The shape of an outline by its 15 lowest complex Fourier coefficients, frequencies -7 to +7 of
/// the outline traced at unit speed (elliptic Fourier features in the sense of Kuhl and Giardina,
/// Computer Graphics and Image Processing 18, 1982, in complex form).
class FourierDescriptor
{
public:
    static constexpr int COUNT = 15;
    /// Index of frequency 0, the outline's centre; frequency n is at CENTRE + n.
    static constexpr int CENTRE = 7;

    using Frequencies = std::array<Complex<16, 15>, COUNT>;

    /// Describes the polygon. With normalise the result depends neither on the orientation nor on
    /// the starting point; exact takes double precision instead of fixed point.
    /// A polygon of length 0 sets rotation and length to 0 and leaves the coefficients.
    void load(const Polygon& polygon, bool normalise, bool exact);

    /// Moves the centre; each part wraps.
    void move(Complex<16, 15> distance);
    /// Adds to the rotation, normalises with the new one if asked, then wraps it into [-pi, pi].
    void rotate(fp<32, 15> angleRadians, bool normalise);
    /// Sets the rotation to half the sum of the angles of frequencies +1 and -1.
    void estimateRotation();
    void normalize();
    /// Turns every coefficient but the centre by -rotation().
    void normalizeRotation();
    /// Shifts the phases so that frequency +1 becomes real and positive.
    void normalizeStartingPoint();

    [[nodiscard]] const Frequencies& frequencies() const { return _frequencies; }

    [[nodiscard]] Complex<16, 15> centre() const { return _frequencies[CENTRE]; }

    /// Radians in [-pi, pi], defined modulo pi by the outline alone.
    [[nodiscard]] fp<32, 15> rotation() const { return _rotation; }

    /// Length of the polygon that was described.
    [[nodiscard]] fp<32, 15> polygonLength() const { return _polygonLength; }

    void setFrequencies(const Frequencies& frequencies) { _frequencies = frequencies; }

    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    Frequencies _frequencies;
    fp<32, 15> _rotation;
    fp<32, 15> _polygonLength;
};

template <class S, class Self>
void FourierDescriptor::serialize(S& s, Self& self)
{
    using io::serialization::array;
    using io::serialization::field;
    if constexpr (S::isEncoder()) {
        s& array("Frequencies", self._frequencies, COUNT, COUNT);
    } else {
        std::vector<Complex<16, 15>> frequencies;
        s& array("Frequencies", frequencies, COUNT, COUNT);
        std::copy(frequencies.begin(), frequencies.end(), self._frequencies.begin());
    }
    s& field("Rotation", self._rotation) & field("PolygonLength", self._polygonLength);
}

} // namespace tarvik::analysis
