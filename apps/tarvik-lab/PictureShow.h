#pragma once

#include "client/LabClient.h"

#include <chrono>

namespace tarvik::lab {

/// Shows a camera pictures from files, grey or colour, in the kind that it takes.
class PictureShow
{
public:
    explicit PictureShow(client::LabClient& camera) : _camera(camera) {}

    /// Only the camera knows whether it wants colour: its first refusal tells.
    [[nodiscard]] client::LabClient::Result analyze(const image::Image& picture,
                                                    std::chrono::milliseconds timeout);

    /// In the size of the camera's images.
    [[nodiscard]] image::Image fitted(const image::Image& picture) const;

private:
    client::LabClient& _camera;
    bool _colour = false;
};

} // namespace tarvik::lab
