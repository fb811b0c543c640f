#include "camera/CameraFactory.h"

#include "camera/CameraImpl.h"
#include "camera/sbo/NeighboursSBO.h"
#include "camera/sbo/SBOCCR1B.h"
#include "camera/sbo/SBOCCR1C.h"
#include "camera/sbo/SBOCCR1CGray.h"
#include "camera/sbo/SBOCCR2B.h"
#include "camera/sbo/SBOCCR3BWB.h"
#include "camera/sbo/SBOCCR3C.h"
#include "camera/sbo/SBOCCR3CGray.h"

#include <memory>

namespace tarvik::camera {

CameraFactory::CameraFactory()
{
    const auto add = [this]<class Driver>(const char* name, const char* description) {
        addImplementation(
            std::make_unique<TypedImplementation<Driver>>(name, description).release());
    };
    add.operator()<sbo::SBOCCR1CGray>("R1C Grayscale (640x480)",
                                      "VGA color camera as grayscale camera.");
    add.operator()<sbo::SBOCCR1C>("R1C (640x480)", "VGA color camera.");
    add.operator()<sbo::SBOCCR1B>("R1B (640x480)", "VGA grayscale camera.");
    add.operator()<sbo::SBOCCR2B>("R2B (1280x1024)", "SXGA grayscale camera.");
    add.operator()<sbo::SBOCCR3BWB>("R3B (752x480)", "WVGA camera.");
    add.operator()<sbo::SBOCCR3CGray>("R3C Grayscale (752x480)",
                                      "WVGA color camera as grayscale camera.");
    add.operator()<sbo::SBOCCR3C>("R3C (752x480)", "WVGA color camera.");
    add.operator()<sbo::NeighboursSBO>("NeighboursSBO (640x480)", "No Description.");
}

CameraFactory::~CameraFactory() = default;

CameraImpl* CameraFactory::create(const Implementation* implementation)
{
    return Factory::create(implementation);
}

void CameraFactory::destroy(CameraImpl* driver)
{
    Factory::destroy(driver);
}

} // namespace tarvik::camera
