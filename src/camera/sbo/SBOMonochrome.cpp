#include "camera/sbo/SBOMonochrome.h"

namespace tarvik::camera::sbo {

void SBOMonochrome::getImages(image::Image** original, image::Image** binary)
{
    *original = fetchFrame();
    *binary = nullptr;
}

} // namespace tarvik::camera::sbo
