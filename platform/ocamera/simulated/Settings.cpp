#include "ocamera/simulated/Settings.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace OCamera::simulated {

namespace {

template <class Number>
void readNumber(const char* name, Number least, Number most, const char* meaning, Number& number)
{
    const std::string_view value = variable(name);
    if (value.empty()) {
        return;
    }
    Number read = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), read);
    if (error == std::errc() && end == value.data() + value.size() && read >= least &&
        read <= most) {
        number = read;
        return;
    }
    complain(std::string(name) + "='" + std::string(value) +
             "' is not accepted. Give a whole number " + std::to_string(least) + " to " +
             std::to_string(most) + meaning + ". Taking " + std::to_string(number) + ".");
}

} // namespace

std::string_view variable(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody calls setenv()
    return value == nullptr ? std::string_view() : std::string_view(value);
}

Settings Settings::fromEnvironment()
{
    Settings settings;
    settings.scene = variable("OCAMERA_SCENE");
    settings.trigger = variable("OCAMERA_TRIGGER");
    readNumber("OCAMERA_FPS", 0, 1000, " (images per second; 0: as fast as they are fetched)",
               settings.framesPerSecond);
    readNumber<std::uint32_t>("OCAMERA_SEED", 0, UINT32_MAX, "", settings.synthetic.seed);
    readNumber("OCAMERA_PARTS", 1, SceneOptions::MAX_PARTS, "", settings.synthetic.parts);
    readNumber("OCAMERA_NOISE", 0, SceneOptions::MAX_NOISE, " (grey levels)",
               settings.synthetic.noise);

    const std::string_view sensor = variable("OCAMERA_SENSOR");
    if (sensor == "MT9V022") {
        settings.wideSensor = CAMERA_R3_MT9V022;
    } else if (!sensor.empty() && sensor != "MT9V023") {
        complain("OCAMERA_SENSOR='" + std::string(sensor) +
                 "' is not accepted. Give MT9V023 or MT9V022. Taking MT9V023.");
    }
    return settings;
}

void complain(const std::string& line)
{
    std::cerr << "Simulated camera: " + line + "\n" << std::flush;
}

} // namespace OCamera::simulated
