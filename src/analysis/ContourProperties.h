#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <span>

namespace tarvik::analysis {

/// Length and centre of a list of absolute points, as a polygon of them would have, without making
/// one. Both are 0 when the points span no length.
class ContourProperties
{
public:
    explicit ContourProperties(std::span<const Complex<16, 14>> points);

    [[nodiscard]] fp<32, 15> length() const { return _length; }

    [[nodiscard]] Complex<16, 14> centre() const { return _centre; }

private:
    fp<32, 15> _length;
    Complex<16, 14> _centre;
};

} // namespace tarvik::analysis
