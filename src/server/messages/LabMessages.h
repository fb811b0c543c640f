#pragma once

#include "camera/Camera.h"
#include "image/Image.h"
#include "protocol/StreamingSettings.h"
#include "server/messages/Payload.h"

namespace tarvik::com::server {
class TarvikLabServer;
}

/// The test client's own messages.
namespace tarvik::com::server::messages {

class ConfigStreamingTarvikLab final : public Incoming<StreamingSettings>
{
public:
    explicit ConfigStreamingTarvikLab(TarvikLabServer& server)
        : Incoming(kinds::CONFIG_STREAMING, "Streaming"),
          _server(server)
    {}

    void act() override;

private:
    TarvikLabServer& _server;
};

/// Replaces the sensor's image by one of the client's, whose result the client gets.
class SetCameraSource final : public Incoming<image::Image>
{
public:
    explicit SetCameraSource(TarvikLabServer& server)
        : Incoming(kinds::SET_CAMERA_SOURCE, "Image"),
          _server(server)
    {}

    void act() override;

private:
    TarvikLabServer& _server;
};

class UnsetCameraSource final : public Plain
{
public:
    explicit UnsetCameraSource(camera::Camera& camera)
        : Plain(kinds::UNSET_CAMERA_SOURCE),
          _camera(camera)
    {}

    void act() override { _camera.setSource(nullptr); }

private:
    camera::Camera& _camera;
};

/// Fails with "Camera not open.", which ends the connection.
class GetCamImgOverridden final : public Answered<bool>
{
public:
    explicit GetCamImgOverridden(const camera::Camera& camera)
        : Answered(kinds::GET_CAM_IMG_OVERRIDDEN, "GetCamImgOverridden"),
          _camera(camera)
    {}

    void act() override { setAnswer(_camera.sourceOverridden()); }

private:
    const camera::Camera& _camera;
};

} // namespace tarvik::com::server::messages
