#include "server/OriginalImageWish.h"

#include "camera/Camera.h"
#include "camera/CameraException.h"

namespace tarvik::com::server {

void OriginalImageWish::set(Client client, bool wanted)
{
    const concurrent::MutexLock lock(_wishMutex);
    (client == Client::Desk ? _desk : _lab) = wanted;
    try {
        _camera.update(_desk || _lab);
    } catch (const camera::CameraException&) {
        // "Camera not open.": it has noted the wish for when it is
    }
}

} // namespace tarvik::com::server
