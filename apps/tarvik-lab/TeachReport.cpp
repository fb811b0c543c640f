#include "TeachReport.h"

#include <cmath>
#include <iomanip>
#include <numbers>
#include <sstream>

namespace tarvik::lab {

using database::Template;

namespace {

constexpr double RAD_TO_DEG = 180 / std::numbers::pi;

/// Lengths on the picture are more telling than normalised ones.
double pixels(fp<32, 15> length, teaching::PictureSize size)
{
    return length.toDouble() * size.width / 2;
}

std::string holes(const Template& part, teaching::PictureSize size)
{
    const auto lengths = part.lengths();
    if (lengths.empty()) {
        return "no holes";
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(0);
    text << lengths.size() << (lengths.size() == 1 ? " hole" : " holes") << " (around ";
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        text << (i == 0 ? "" : ", ") << pixels(lengths[i], size);
    }
    text << " px)";
    return text.str();
}

} // namespace

std::string describe(const teaching::Taught& taught, teaching::PictureSize size)
{
    const Template& part = *taught.part;
    const auto& descriptor = part.fourierDescriptor();
    const auto centre = teaching::toPixels(descriptor.centre().re.toDouble(),
                                           descriptor.centre().im.toDouble(), size);
    std::ostringstream text;
    text << std::fixed << std::setprecision(0) << "template " << part.id
         << (taught.replaced ? " replaced: " : ": ") << "outline of "
         << part.polygon().pointCount() - 1 << " corners, " << pixels(part.polygon().length(), size)
         << " px around, " << holes(part, size) << ", at (" << centre.x << ", " << centre.y
         << "), turned " << std::setprecision(1) << descriptor.rotation().toDouble() * RAD_TO_DEG
         << " deg";
    return text.str();
}

} // namespace tarvik::lab
