#include "configuration/SettingNames.h"

#include "configuration/SettingGuide.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <string>

namespace tarvik::configuration {
namespace {

using testing::HasSubstr;

std::vector<std::byte> bytes(const SystemConfiguration& configuration)
{
    io::stream::MemoryOutputStream stream;
    io::serialization::BinaryEncoder encoder(stream);
    encoder& io::serialization::field("", configuration);
    const auto written = stream.bytes();
    return {written.begin(), written.end()};
}

TEST(SettingNames, WritingBackWhatWasReadKeepsEveryBit)
{
    SystemConfiguration configuration;
    configuration.divider.config.setMaxCutLength(fp<32, 30>(1234567891));
    configuration.analyzer.config.lensCorrectionParams.k1.q1 = fp<32, 30>(-987654321);
    const auto before = bytes(configuration);
    for (const Setting& setting : settings(configuration)) {
        SCOPED_TRACE(setting.name);
        change(configuration, setting.name, setting.text);
        ASSERT_EQ(bytes(configuration), before);
    }
}

TEST(SettingNames, RefusesWhatIsNoValue)
{
    struct Case
    {
        const char* name;
        const char* text;
        const char* refusal;
    };

    constexpr Case cases[] = {
        {"camera.Gain", "256", "it takes a whole number from 0 to 255"},
        {"camera.Gain", "3.5", "it takes a whole number"},
        {"breakup.MaxCutLength", "2.0", "it takes a number from -2.000000 to 2.000000"},
        {"breakup.MaxCutLength", "nan", "it takes a number"},
        {"camera.Invert", "maybe", "it takes true or false"},
        {"database.ComparatorName", "Best", "Known: 'Outer and inner contours'"},
        {"camera", "1", "is a group of settings"},
        {"camera.Gian", "1", "There is no setting 'camera.Gian'"},
    };
    SystemConfiguration configuration;
    const auto before = bytes(configuration);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_THAT(test::thrown<SettingException>([&] { change(configuration, c.name, c.text); }),
                    HasSubstr(c.refusal));
        EXPECT_EQ(bytes(configuration), before);
    }
}

TEST(SettingNames, EachHasAGuideWhoseRangeHoldsItsDefault)
{
    for (const Setting& setting : settings(SystemConfiguration())) {
        SCOPED_TRACE(setting.name);
        const SettingGuide& guide = guideTo(setting.name);
        EXPECT_STRNE(guide.title, "");
        EXPECT_THAT(guide.about, testing::EndsWith("."));
        if (setting.kind == Setting::Kind::Whole || setting.kind == Setting::Kind::Real) {
            const double value = std::stod(setting.text);
            EXPECT_GE(value, guide.least.value_or(setting.least));
            EXPECT_LE(value, guide.most.value_or(setting.most));
            EXPECT_GE(guide.least.value_or(setting.least), setting.least);
            EXPECT_LE(guide.most.value_or(setting.most), setting.most);
        }
    }
}

} // namespace
} // namespace tarvik::configuration
