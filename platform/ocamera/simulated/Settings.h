#pragma once

#include "ocamera/OCamera.h"
#include "ocamera/simulated/Scene.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace OCamera::simulated {

/// What the environment says about the simulated camera.
///
/// | Variable        | Meaning                                                              |
/// |-----------------|----------------------------------------------------------------------|
/// | OCAMERA_SCENE   | a picture, or a folder of pictures played in the order of their names |
/// |                 | (PNG, PGM, PPM, JPEG); unset: the synthetic scene                     |
/// | OCAMERA_FPS     | images per second, 0 to 1000, default 30; 0: as fast as fetched      |
/// | OCAMERA_TRIGGER | a named pipe; each byte written to it is a pulse on input E0         |
/// | OCAMERA_SENSOR  | chip in the 752 x 480 models: MT9V023 (default) or MT9V022           |
/// | OCAMERA_SEED    | another synthetic scene for every number, default 1                  |
/// | OCAMERA_PARTS   | parts in view of the synthetic scene, 1 to 25, default 9             |
/// | OCAMERA_NOISE   | its noise in grey levels, 0 to 40, default 8                         |
/// | OCAMERA_FAULTS  | a named pipe; each line written to it is a fault, see FaultPipe.h    |
///
/// A value that is none of these is named on standard error with what is accepted, and the default
/// holds.
struct Settings
{
    std::filesystem::path scene;
    int framesPerSecond = 30;
    std::filesystem::path trigger;
    eCameraType wideSensor = CAMERA_R3_MT9V023;
    SceneOptions synthetic;

    [[nodiscard]] static Settings fromEnvironment();
};

/// Value of a variable of the environment; empty means unset.
[[nodiscard]] std::string_view variable(const char* name);

/// Writes one line to standard error, headed by who speaks.
void complain(const std::string& line);

} // namespace OCamera::simulated
