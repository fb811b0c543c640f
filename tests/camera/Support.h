#pragma once

#include "camera/Camera.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "camera/CameraImpl.h"
#include "core/logging/LogManager.h"
#include "core/util/Listener.h"
#include "image/Image.h"
#include "ocamera/simulated/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
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

    void clear() { _lines.clear(); }

private:
    void onEvent(logging::LogEvent& event) override
    {
        if (*event.logName == "Camera") {
            _lines.add(event.entry->message);
        }
    }

    Collected<std::string> _lines;
};

/// A simulation without faults, as fast as images are fetched.
class SimulationTest : public testing::Test
{
protected:
    SimulationTest()
    {
        setEnvironment("OCAMERA_FPS", "0");
        setEnvironment("OCAMERA_PARTS", "1");
        setEnvironment("OCAMERA_SENSOR", "");
        setEnvironment("OCAMERA_TRIGGER", "");
        OCamera::simulated::resetSimulation();
    }

    ~SimulationTest() override { OCamera::simulated::resetSimulation(); }

    static void setEnvironment(const char* name, const std::string& value)
    {
        ::setenv(name, value.c_str(), 1); // no camera runs yet
    }

    CameraLog _log;
};

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

inline void fillRandomly(image::Image& image, unsigned seed)
{
    std::mt19937 random(seed);
    for (std::uint8_t& byte : image.bytes()) {
        byte = static_cast<std::uint8_t>(random());
    }
}

} // namespace tarvik::test
