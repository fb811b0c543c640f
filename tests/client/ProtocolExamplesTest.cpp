#include "ProtocolExamples.h"

#include "core/Exception.h"
#include "support/Hex.h"

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <string>

namespace tarvik {
namespace {

/// SetDatabaseComparator has two layouts; the document shows both.
constexpr std::size_t SHORT_COMPARATOR = 8;

TEST(ProtocolExamples, AreWhatTheCodersReadAndWrite)
{
    for (const test::ProtocolExample& example : test::protocolExamples()) {
        if (example.name == "SetDatabaseComparator" && example.bytes.size() == SHORT_COMPARATOR) {
            continue;
        }
        SCOPED_TRACE((example.fromClient ? "> " : "< ") + example.name);
        const auto payload = std::span(example.bytes).subspan(4);
        try {
            EXPECT_EQ(test::toHex(test::payloadCoder(example).recode(payload)),
                      test::toHex(payload));
        } catch (const Exception& e) {
            ADD_FAILURE() << e.what();
        }
    }
}

TEST(ProtocolExamples, ShowEveryMessage)
{
    std::set<std::string> shown;
    for (const test::ProtocolExample& example : test::protocolExamples()) {
        shown.insert(example.name);
    }
    EXPECT_EQ(shown.size(), 20U) << "all but SetDatabase, which is GetDatabase's answer";
}

} // namespace
} // namespace tarvik
