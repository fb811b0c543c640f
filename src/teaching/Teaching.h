#pragma once

#include "database/DatabaseState.h"
#include "database/Template.h"
#include "teaching/TeachingException.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace tarvik::analysis {
class Frame;
class Object;
} // namespace tarvik::analysis

/// From an analysed picture of one part to a template in a database.
namespace tarvik::teaching {

/// A place in a picture: pixels from its upper left corner.
struct PixelPoint
{
    double x = 0;
    double y = 0;
};

/// Pixels.
struct PictureSize
{
    int width = 0;
    int height = 0;
};

/// What a teacher says about a part beside showing it.
struct Lesson
{
    /// Results carry 16 bits of it, of which -1 means "not recognised".
    static constexpr std::int32_t MAX_ID = 32767;

    std::optional<std::int32_t> id;    ///< absent: the next free one
    bool replace = false;              ///< take the place of a template with this id
    std::optional<PixelPoint> grip;    ///< reported as the part's position; absent: its centre
    std::optional<double> height;      ///< passed on to whoever reads the template
    std::optional<double> rotationDeg; ///< added to every reported rotation
};

/// The one object of the frame. Throws TeachingException when there is none, or several, or when it
/// reaches into the clipping frame.
[[nodiscard]] const analysis::Object& singleObject(const analysis::Frame& frame, PictureSize size);

struct Taught
{
    std::shared_ptr<const database::Template> part;
    bool replaced = false;
};

/// Teaches the one object of the frame. Throws TeachingException as singleObject(), for an id that
/// is taken, for numbers that no template can hold, and when the database is full; the database is
/// then as it was.
Taught teach(database::DatabaseState& database, const analysis::Frame& frame, const Lesson& lesson,
             PictureSize size);

/// Where a point in normalised image coordinates lies in the picture.
[[nodiscard]] PixelPoint toPixels(double x, double y, PictureSize size);

} // namespace tarvik::teaching
