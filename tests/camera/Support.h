#pragma once

#include "camera/Camera.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "camera/CameraImpl.h"
#include "core/logging/LogManager.h"
#include "core/util/Listener.h"
#include "image/Image.h"
#include "ocamera/simulated/Faults.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace tarvik::test {

/// A thread that shares `values` with the test, which waits until they are as it expects.
template <class T>
class Collected
{
public:
    void add(T value)
    {
        const std::scoped_lock lock(_mutex);
        _values.push_back(std::move(value));
        _changed.notify_all();
    }

    void clear()
    {
        const std::scoped_lock lock(_mutex);
        _values.clear();
    }

    [[nodiscard]] std::vector<T> values() const
    {
        const std::scoped_lock lock(_mutex);
        return _values;
    }

    /// Waits until the predicate holds for one of the values; false after 20 s.
    [[nodiscard]] bool waitFor(const std::function<bool(const T&)>& predicate) const
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(20), [&] {
            return std::any_of(_values.begin(), _values.end(), predicate);
        });
    }

private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::vector<T> _values;
};

/// What the log "Camera" says while this lives.
class CameraLog : util::Listener<logging::LogEvent>
{
public:
    CameraLog()
    {
        logging::LogManager::globalInstance().setConfig({.logToConsole = false});
        logging::LogManager::globalInstance().addListener(this);
    }

    CameraLog(const CameraLog&) = delete;
    CameraLog& operator=(const CameraLog&) = delete;

    ~CameraLog() override { logging::LogManager::globalInstance().removeListener(this); }

    [[nodiscard]] std::vector<std::string> lines() const { return _lines.values(); }

    [[nodiscard]] bool waitFor(const std::string& line) const
    {
        return _lines.waitFor([&](const std::string& l) { return l == line; });
    }

    [[nodiscard]] bool waitForLineWith(std::string_view part) const
    {
        return _lines.waitFor([&](const std::string& l) { return l.find(part) != l.npos; });
    }

    void clear() { _lines.clear(); }

    std::function<void(const std::string& line)> onLine; ///< set while no camera is open

private:
    void onEvent(logging::LogEvent& event) override
    {
        if (*event.logName == "Camera") {
            _lines.add(event.entry->message);
            if (onLine) {
                onLine(event.entry->message);
            }
        }
    }

    Collected<std::string> _lines;
};

/// Stands for the camera's loader program: notes its calls, and fails until it has a design.
class FpgaLoader
{
public:
    FpgaLoader()
    {
        const std::string program = _folder / "loadfpga";
        writeFile(program, "#!/bin/sh\necho \"$@\" >> " + (_folder / "calls") + "\ntest -e " +
                               (_folder / "design") + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        ::setenv("PATH", (_folder.path().string() + ":" + _path).c_str(), 1);
    }

    FpgaLoader(const FpgaLoader&) = delete;
    FpgaLoader& operator=(const FpgaLoader&) = delete;

    ~FpgaLoader() { ::setenv("PATH", _path.c_str(), 1); }

    void provideDesign() const { writeFile(_folder / "design", ""); }

    /// Arguments of each call, one a line.
    [[nodiscard]] std::string calls() const { return readFile(_folder / "calls"); }

private:
    const TemporaryFolder _folder;
    const std::string _path = std::getenv("PATH");
};

/// A simulation without faults, as fast as images are fetched.
class SimulationTest : public testing::Test
{
protected:
    SimulationTest()
    {
        setEnvironment("OCAMERA_FPS", "0");
        setEnvironment("OCAMERA_PARTS", "1");
        setEnvironment("OCAMERA_SCENE", "");
        setEnvironment("OCAMERA_SENSOR", "");
        setEnvironment("OCAMERA_TRIGGER", "");
        OCamera::simulated::resetSimulation();
    }

    ~SimulationTest() override { OCamera::simulated::resetSimulation(); }

    static void setEnvironment(const char* name, const std::string& value)
    {
        ::setenv(name, value.c_str(), 1); // no camera runs yet
    }

    /// A black picture of the sensor's size in place of the synthetic scene. That one is drawn
    /// anew for every image, and another size would have to be scaled, by floating-point
    /// arithmetic: together most of the time of a test that opens cameras again and again.
    void showBlackScene(const camera::CameraImpl& sensor) const
    {
        const std::size_t width = sensor.imageWidth();
        const std::size_t height = sensor.imageHeight();
        writeFile(_folder / "black.pgm", "P5 " + std::to_string(width) + " " +
                                             std::to_string(height) + " 255\n" +
                                             std::string(width * height, '\0'));
        setEnvironment("OCAMERA_SCENE", _folder / "black.pgm");
    }

    const TemporaryFolder _folder;
    CameraLog _log;
    FpgaLoader _loader;
};

/// One model of every driver, and one that looks for either of two chips.
inline constexpr const char* DRIVERS[] = {
    "R1C Grayscale (640x480)",
    "R1B (640x480)",
    "R3C (752x480)",
    "NeighboursSBO (640x480)",
};

/// Name of a test that has a model for its parameter.
inline std::string modelName(const testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

inline camera::CameraConfiguration configOf(const char* model)
{
    camera::CameraConfiguration config;
    config.setImplementation(camera::CameraFactory::instance().find(model));
    return config;
}

using Driver = std::unique_ptr<camera::CameraImpl, camera::DriverDeleter>;

inline Driver makeDriver(const camera::CameraConfiguration& config)
{
    Driver driver(camera::CameraFactory::instance().create(config.implementation()));
    driver->setConfig(config);
    return driver;
}

inline Driver makeDriver(const char* model)
{
    return makeDriver(configOf(model));
}

/// A test image of the kind that the driver takes.
inline image::Image pictureFor(const camera::CameraImpl& driver)
{
    return driver.isColored() ? image::Image(driver.imageWidth(), driver.imageHeight(), 3,
                                             image::Format::Planar, image::ColorSpace::HSV)
                              : image::Image(driver.imageWidth(), driver.imageHeight());
}

/// A model, with everything that it can use.
class ModelTest : public SimulationTest, public testing::WithParamInterface<const char*>
{
protected:
    ModelTest() : _driver(makeDriver(GetParam())), _picture(pictureFor(*_driver))
    {
        showBlackScene(*_driver);
        _loader.provideDesign();
        OCamera::simulated::loadNeighbourhoodDesign(true);
    }

    Driver _driver;
    image::Image _picture;
    const camera::CameraConfiguration _config = configOf(GetParam());
};

inline std::vector<std::uint8_t> bytesOf(const image::Image& image)
{
    return {image.bytes().begin(), image.bytes().end()};
}

/// The bytes of one image.
struct Pictures
{
    std::vector<std::uint8_t> original; ///< empty when the model delivers none
    std::vector<std::uint8_t> binary;
};

/// Fetches an image, which must have the model's size and kind.
inline Pictures fetch(camera::CameraImpl& driver)
{
    image::Image* original = nullptr;
    image::Image* binary = nullptr;
    driver.getImages(&original, &binary);
    if (binary == nullptr) {
        ADD_FAILURE() << "no image";
        return {};
    }
    EXPECT_EQ(binary->width(), driver.imageWidth());
    EXPECT_EQ(binary->height(), driver.imageHeight());
    Pictures result{.original = {}, .binary = bytesOf(*binary)};
    if (original != nullptr) {
        EXPECT_EQ(original->pixelCount(), binary->pixelCount());
        EXPECT_EQ(original->channels(), driver.isColored() ? 3 : 1);
        EXPECT_EQ(original->colorSpace(),
                  driver.isColored() ? image::ColorSpace::HSV : image::ColorSpace::None);
        result.original = bytesOf(*original);
    }
    driver.releaseImage();
    return result;
}

inline std::string libraryError(const std::string& call, int error)
{
    return "Camera error while executing: '" + call +
           "'. Details: " + std::generic_category().message(error);
}

inline void fillRandomly(image::Image& image, unsigned seed)
{
    std::mt19937 random(seed);
    for (std::uint8_t& byte : image.bytes()) {
        byte = static_cast<std::uint8_t>(random());
    }
}

} // namespace tarvik::test
