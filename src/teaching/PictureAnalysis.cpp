#include "teaching/PictureAnalysis.h"

#include "camera/CameraException.h"
#include "camera/CameraImpl.h"

namespace tarvik::teaching {

PictureAnalysis::PictureAnalysis(const camera::CameraConfiguration& camera,
                                 const analysis::AnalyzerConfiguration& analyzer)
    : _driver(camera::CameraFactory::instance().create(camera.implementation()))
{
    camera::CameraConfiguration untriggered = camera;
    untriggered.triggerMode = camera::CameraConfiguration::INTERNAL_TRIGGER;
    _driver->setConfig(untriggered);
    _driver->open();
    _analyzer.setConfig(analyzer);
    _analyzer.addListener(this);
}

PictureAnalysis::~PictureAnalysis()
{
    try {
        _driver->close();
    } catch (const Exception&) {
        // A sensor that does not stop is let go all the same.
    }
}

int PictureAnalysis::width() const
{
    return _driver->imageWidth();
}

int PictureAnalysis::height() const
{
    return _driver->imageHeight();
}

bool PictureAnalysis::isColored() const
{
    return _driver->isColored();
}

const analysis::Frame& PictureAnalysis::analyze(image::Image& picture)
{
    _driver->setSource(&picture);
    image::Image* original = nullptr;
    image::Image* binary = nullptr;
    _driver->getImages(&original, &binary);
    if (binary == nullptr) {
        throw camera::CameraException("The camera delivered no binary image.");
    }
    camera::ImageEvent event{.originalImage = original, .binaryImage = binary};
    _analyzer.onEvent(event);
    _driver->releaseImage();
    return *_frame;
}

} // namespace tarvik::teaching
