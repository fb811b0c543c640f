#pragma once

#include "database/Transform.h"

#include <span>
#include <vector>

/// From points seen in the picture, and where the robot says they are, to the matrix that the
/// camera applies.
namespace tarvik::desk {

struct PlanePoint
{
    double x = 0;
    double y = 0;
};

struct ReferencePoint
{
    PlanePoint seen;  ///< normalised image coordinates
    PlanePoint robot; ///< its coordinates in the robot's units
};

struct FittedTransform
{
    database::Transform::Matrix matrix; ///< as the camera will apply it, rounded to its format
    std::vector<double> residuals;      ///< distance of each point from where the matrix puts it
    double rms = 0;                     ///< root mean square of them
    /// The robot's plane is the mirror image of the picture: reported rotations do not follow.
    bool mirrored = false;
};

/// Least squares. Two points give turn, scale and offset; three and more give all six elements.
/// Throws ApiError for fewer points, for points that lie on one line or on one spot, and for
/// numbers that leave the matrix's format or the reported coordinates' range of 1024.
[[nodiscard]] FittedTransform fitTransform(std::span<const ReferencePoint> points);

} // namespace tarvik::desk
