#pragma once

#include "ocamera/OCamera.h"
#include "ocamera/simulated/Faults.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

/// What the tests of the simulated camera stand on: a clean environment and a scratch folder, and
/// a camera that has been opened the way the drivers do it.
class CameraBench : public testing::Test
{
protected:
    static constexpr std::size_t PIXELS = 640 * 480;

    CameraBench()
    {
        OCamera::simulated::resetSimulation();
        for (const char* name : {"OCAMERA_SCENE", "OCAMERA_TRIGGER", "OCAMERA_SENSOR",
                                 "OCAMERA_SEED", "OCAMERA_PARTS", "OCAMERA_NOISE"}) {
            unsetenv(name);
        }
        set("OCAMERA_FPS", "0");
    }

    ~CameraBench() override { OCamera::simulated::resetSimulation(); }

    static void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

    /// Writes a PGM (one value per pixel) or PPM (three) file.
    std::string writePicture(const std::string& name, int width, int height, int channels,
                             const std::vector<std::uint8_t>& pixels) const
    {
        const std::string kind = channels == 3 ? "P6 " : "P5 ";
        tarvik::test::writeFile(_folder / name, kind + std::to_string(width) + " " +
                                                    std::to_string(height) + " 255\n" +
                                                    std::string(pixels.begin(), pixels.end()));
        return _folder / name;
    }

    std::string writeUniform(const std::string& name, const std::vector<std::uint8_t>& colour) const
    {
        std::vector<std::uint8_t> pixels(PIXELS * colour.size());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = colour[i % colour.size()];
        }
        return writePicture(name, 640, 480, static_cast<int>(colour.size()), pixels);
    }

    static std::unique_ptr<OCamera::CameraInterface>
    made(OCamera::eCameraType type = OCamera::CAMERA_R1)
    {
        return std::unique_ptr<OCamera::CameraInterface>(OCamera::CreateCameraInterface(type));
    }

    static std::unique_ptr<OCamera::CameraInterface>
    running(OCamera::eCameraType type = OCamera::CAMERA_R1)
    {
        auto camera = made(type);
        EXPECT_EQ(camera->Open(type == OCamera::CAMERA_R2 ? 1280 * 1024 * 4 : 752 * 480 * 4), 0);
        EXPECT_EQ(camera->InitImageRAM(), 0);
        EXPECT_EQ(camera->SetAcquisitionMode(OCamera::ACQ_MODE_SINGLE_SHOT), 0);
        EXPECT_EQ(camera->SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE, 1), 0);
        return camera;
    }

    /// Fetches a frame, copies it and gives it back. Empty: the fetch failed.
    static std::vector<std::uint8_t> fetched(OCamera::CameraInterface& camera,
                                             std::size_t pixels = PIXELS)
    {
        OCamera::FrameHandle frame;
        if (camera.GetImage(&frame) != 0) {
            return {};
        }
        std::vector<std::uint8_t> copy(frame.pixels, frame.pixels + pixels);
        EXPECT_EQ(camera.ReleaseImage(&frame), 0);
        return copy;
    }

    const tarvik::test::TemporaryFolder _folder;
};

/// A picture in the camera's image memory must start at a multiple of 32 bytes.
struct alignas(32) AlignedPicture
{
    std::array<std::uint8_t, 640 * 480> pixels{};
};
