#include "server/messages/LabMessages.h"

#include "server/TarvikLabServer.h"

#include <utility>

namespace tarvik::com::server::messages {

void ConfigStreamingTarvikLab::act()
{
    _server.setStreamingSettings(payload());
}

void SetCameraSource::act()
{
    const image::Image image = std::move(payload()); // too large to be kept for nothing
    _server.setTestImage(image);
}

} // namespace tarvik::com::server::messages
