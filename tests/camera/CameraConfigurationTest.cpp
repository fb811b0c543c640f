#include "camera/CameraConfiguration.h"

#include "Support.h"
#include "io/serialization/SerializationException.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <string>

namespace tarvik::camera {

namespace {

using io::serialization::field;
using io::serialization::SerializationException;
using io::serialization::XMLDecoder;
using io::serialization::XMLEncoder;
using test::configOf;
using test::thrown;
using testing::HasSubstr;

template <class Self>
std::string encoded(const Self& self)
{
    XMLEncoder encoder;
    encoder& field("Camera", self);
    return encoder.printToBuffer();
}

template <class Self>
void decode(const std::string& text, Self& self)
{
    XMLDecoder decoder;
    decoder.loadFromString(text);
    decoder& field("Camera", self);
}

TEST(CameraConfigurationTest, TravelsWhole)
{
    CameraConfiguration config = configOf("R3B (752x480)");
    config.triggerMode = -2;
    config.shutterTime = 4000000000;
    std::uint8_t value = 200;
    for (std::uint8_t* field : {&config.gain, &config.thresholdLow, &config.thresholdHigh,
                                &config.lowerValH, &config.greaterValH, &config.lowerValS,
                                &config.greaterValS, &config.lowerValV, &config.greaterValV}) {
        *field = value++;
    }
    config.invert = true;
    const std::string text = encoded(config);
    std::size_t last = 0;
    for (const char* name : {"Implementation", "TriggerMode", "ShutterTime", "Gain", "ThresholdLow",
                             "ThresholdHigh", "LowerValH", "GreaterValH", "LowerValS",
                             "GreaterValS", "LowerValV", "GreaterValV", "Invert"}) {
        const std::size_t position = text.find(std::string("<") + name + ">");
        ASSERT_NE(position, std::string::npos) << name;
        EXPECT_GT(position, last) << name;
        last = position;
    }
    CameraConfiguration decoded;
    decode(text, decoded);
    EXPECT_EQ(decoded, config);
}

class StoredCameraTest : public test::SimulationTest
{};

TEST_F(StoredCameraTest, OpensAsItIsDecodedUnlessTheModelIsUnknown)
{
    const std::string model = "R2B (1280x1024)";
    Camera stored;
    stored.setConfig(configOf(model.c_str()));
    const std::string text = encoded(stored);
    std::string unknown = text;
    unknown.replace(unknown.find(model), model.size(), "R9");
    Camera camera;
    EXPECT_THAT(thrown<SerializationException>([&] { decode(unknown, camera); }),
                HasSubstr("Unknown implementation in <Implementation>: 'R9'."));
    EXPECT_FALSE(camera.isOpen());
    EXPECT_EQ(camera.latestConfig(), CameraConfiguration());
    decode(text, camera);
    EXPECT_EQ(camera.imageWidth(), 1280);
}

} // namespace

} // namespace tarvik::camera
