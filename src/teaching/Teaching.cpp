#include "teaching/Teaching.h"

#include "analysis/Frame.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>

namespace tarvik::teaching {

using analysis::Frame;
using analysis::Object;
using database::DatabaseState;
using database::Template;

namespace {

std::string place(const Object& object, PictureSize size)
{
    const auto centre = object.polygon().position();
    const PixelPoint p = toPixels(centre.re.toDouble(), centre.im.toDouble(), size);
    std::ostringstream text;
    text << '(' << std::lround(p.x) << ", " << std::lround(p.y) << ')';
    return text.str();
}

std::string places(const Frame& frame, PictureSize size)
{
    constexpr std::size_t SHOWN = 5;
    const auto objects = frame.objects();
    std::string text;
    for (const Object& object : objects.first(std::min(SHOWN, objects.size()))) {
        text += (text.empty() ? "" : ", ") + place(object, size);
    }
    return objects.size() > SHOWN ? text + ", ..." : text;
}

/// Refuses what the format cannot hold; not-a-number is outside of every range.
template <class Number>
Number checked(const char* what, double value)
{
    constexpr double SCALE = static_cast<double>(std::uint64_t{1} << Number::FRACTION);
    constexpr double MIN = std::numeric_limits<typename Number::Raw>::min() / SCALE;
    constexpr double MAX = (std::numeric_limits<typename Number::Raw>::max() - 1) / SCALE;
    if (!(value >= MIN && value <= MAX)) {
        std::ostringstream text;
        text << what << " is " << value << ", but a template holds values from " << MIN << " to "
             << MAX << " only.";
        throw TeachingException(text.str());
    }
    return Number::fromDouble(value);
}

/// From the picture to the template's own axes: from the centre, turned back by the rotation.
Complex<16, 15> gripPoint(const PixelPoint& grip, const analysis::FourierDescriptor& descriptor,
                          PictureSize size)
{
    const double halfWidth = size.width / 2.0;
    const double x = (grip.x - halfWidth) / halfWidth - descriptor.centre().re.toDouble();
    const double y = (grip.y - size.height / 2.0) / halfWidth - descriptor.centre().im.toDouble();
    const double angle = descriptor.rotation().toDouble();
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {checked<fp<16, 15>>("The grip point's distance along the part", x * c + y * s),
            checked<fp<16, 15>>("The grip point's distance across the part", y * c - x * s)};
}

/// What a template has beyond the object itself comes from the lesson.
Template makeTemplate(std::int32_t id, const Object& object, const Lesson& lesson, PictureSize size)
{
    Template result(id, object);
    if (lesson.grip) {
        result.gripPoint = gripPoint(*lesson.grip, result.fourierDescriptor(), size);
    }
    if (lesson.height) {
        result.height = checked<fp<32, 15>>("The height", *lesson.height);
    }
    if (lesson.rotationDeg) {
        if (!(std::abs(*lesson.rotationDeg) <= 360)) {
            throw TeachingException("The rotation must lie between -360 and 360 degrees.");
        }
        result.rotation = fp<32, 15>::fromDouble(*lesson.rotationDeg * std::numbers::pi / 180);
    }
    return result;
}

/// The lesson's id or the next free one, if it may be used.
std::int32_t chooseId(const DatabaseState& database, const Lesson& lesson)
{
    const std::int32_t id = lesson.id ? *lesson.id : database.createID();
    if (id < 0 || id > Lesson::MAX_ID) {
        throw TeachingException("Template id " + std::to_string(id) +
                                " is outside 0 to 32767, which is what results can carry.");
    }
    if (database.findTemplateById(id) != nullptr) {
        if (!lesson.replace) {
            throw TeachingException("Template id " + std::to_string(id) +
                                    " is taken. Choose another one (the next free one is " +
                                    std::to_string(database.createID()) +
                                    "), or ask for it to be replaced.");
        }
        return id;
    }
    return id;
}

} // namespace

PixelPoint toPixels(double x, double y, PictureSize size)
{
    const double halfWidth = size.width / 2.0;
    return {halfWidth + x * halfWidth, size.height / 2.0 + y * halfWidth};
}

const Object& singleObject(const Frame& frame, PictureSize size)
{
    if (frame.objectCount() == 0) {
        throw TeachingException(
            "No object was found. Check the camera's ThresholdLow, ThresholdHigh and Invert (the "
            "part must be foreground) and the analyzer's MinPolygonSize and MaxPolygonSize.");
    }
    if (frame.objectCount() > 1) {
        throw TeachingException(std::to_string(frame.objectCount()) + " objects were found, at " +
                                places(frame, size) +
                                " (pixels). Show one part alone, or raise the analyzer's "
                                "MinPolygonSize if the others are specks.");
    }
    const Object& object = frame.object(0);
    if (object.clipped()) {
        throw TeachingException("The object at " + place(object, size) +
                                " (pixels) reaches into the clipping frame along the border. Move "
                                "it inwards, or make the analyzer's ClippingFrame smaller.");
    }
    return object;
}

Taught teach(DatabaseState& database, const Frame& frame, const Lesson& lesson, PictureSize size)
{
    const std::int32_t id = chooseId(database, lesson);
    const Object& object = singleObject(frame, size);
    Taught taught{std::make_shared<const Template>(makeTemplate(id, object, lesson, size))};

    const auto templates = database.templates();
    const auto same = std::ranges::find_if(templates, [id](const auto& t) { return t->id == id; });
    taught.replaced = same != templates.end();
    if (taught.replaced) {
        database.setTemplate(static_cast<int>(same - templates.begin()), taught.part);
    } else if (!database.addTemplate(taught.part)) {
        throw TeachingException("The database is full: it holds " +
                                std::to_string(database.numTemplates()) +
                                " templates. Replace one of them instead.");
    }
    return taught;
}

} // namespace tarvik::teaching
