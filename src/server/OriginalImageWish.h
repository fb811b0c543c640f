#pragma once

#include "core/concurrent/Mutex.h"

namespace tarvik::camera {
class Camera;
}

namespace tarvik::com::server {

/// Tells the camera whether anybody streams original images: TarvikDesk, the test client or both.
///
/// Threads: any.
class OriginalImageWish
{
public:
    enum class Client
    {
        Desk,
        Lab,
    };

    explicit OriginalImageWish(camera::Camera& camera) : _camera(camera) {}

    void set(Client client, bool wanted);

private:
    camera::Camera& _camera;

    /// Guards the wishes, and brings them to the camera in their order. Then the camera's mutex.
    concurrent::Mutex _wishMutex;
    bool _desk TARVIK_GUARDED_BY(_wishMutex) = false;
    bool _lab TARVIK_GUARDED_BY(_wishMutex) = false;
};

} // namespace tarvik::com::server
