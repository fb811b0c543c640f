#include "database/DescriptorTable.h"

#include "Samples.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::test;

namespace {

/// Small differences as between parts that are alike, any ones, and the ends of the format, at
/// which differences and sums wrap.
analysis::FourierDescriptor randomDescriptor(std::mt19937& random, int kind)
{
    analysis::FourierDescriptor::Frequencies all{};
    const auto part = [&] {
        constexpr int ENDS[] = {-32768, 32767};
        const auto any = static_cast<int>(random() % 65536) - 32768;
        return static_cast<std::int16_t>(kind == 0 ? any / 64 : kind == 1 ? any : ENDS[any & 1]);
    };
    for (auto& frequency : all) {
        frequency = Complex<16, 15>::fromRaw(part(), part());
    }
    analysis::FourierDescriptor descriptor;
    descriptor.setFrequencies(all);
    return descriptor;
}

TEST(DescriptorTable, GivesTheErrorsOfEachTemplateAlone)
{
    std::mt19937 random(3); // NOLINT(cert-msc51-cpp): repeatable
    for (const std::size_t count : {0U, 1U, 2U, 31U, 32U}) {
        for (int kind = 0; kind < 3; ++kind) {
            std::vector<std::shared_ptr<const Template>> templates;
            while (templates.size() < count) {
                templates.push_back(std::make_shared<const Template>(
                    makeTemplate({.shape = randomDescriptor(random, kind),
                                  .shapeRotated = randomDescriptor(random, kind)})));
            }
            const auto object = randomDescriptor(random, kind);
            DescriptorTable::Errors errors;
            DescriptorTable(templates).compare(object, errors);
            for (std::size_t i = 0; i < count; ++i) {
                const FrequencyErrors expected(object, *templates[i]);
                EXPECT_EQ(errors[i].straight, expected.straight) << kind << ", template " << i;
                EXPECT_EQ(errors[i].rotated, expected.rotated) << kind << ", template " << i;
            }
        }
    }
}

} // namespace
