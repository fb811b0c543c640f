#include "database/Database.h"

#include "Samples.h"
#include "analysis/Frame.h"
#include "core/Exception.h"
#include "core/logging/LogManager.h"
#include "database/comparators/StereoComparator.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::test;
using io::serialization::field;
using testing::HasSubstr;

namespace {

using Encoder = io::serialization::BinaryEncoder<io::stream::MemoryOutputStream>;
using Decoder = io::serialization::BinaryDecoder<io::stream::MemoryInputStream>;

/// A database, and what it tells its listeners.
class DatabaseTest : public testing::Test,
                     public util::Listener<ComparatorNotificationEvent>,
                     public util::Listener<BreakupEvent>
{
protected:
    DatabaseTest()
    {
        database.addListener(static_cast<util::Listener<ComparatorNotificationEvent>*>(this));
        database.addListener(static_cast<util::Listener<BreakupEvent>*>(this));
    }

    void onEvent(ComparatorNotificationEvent& event) override { heard.push_back(event.advanced); }

    void onEvent(BreakupEvent& event) override
    {
        ++results;
        last = event;
        matchings = *event.matchings;
    }

    Database database;
    std::vector<bool> heard; ///< of comparators: whether advanced
    int results = 0;
    BreakupEvent last;
    Matchings matchings;
};

Template withID(int id)
{
    return makeTemplate({.id = id});
}

DatabaseConfiguration configFor(const char* comparatorName)
{
    DatabaseConfiguration config;
    config.setComparatorImpl(ComparatorFactory::instance().find(comparatorName));
    return config;
}

std::vector<int> ids(const Database& database)
{
    std::vector<int> result;
    for (int i = 0; i < database.numTemplates(); ++i) {
        result.push_back(database.getTemplate(i)->id);
    }
    return result;
}

std::vector<std::byte> encoded(const Database& database)
{
    io::stream::MemoryOutputStream out;
    Encoder encoder(out);
    encoder& field("Database", database);
    return {out.bytes().begin(), out.bytes().end()};
}

void decode(Database& database, std::span<const std::byte> bytes)
{
    io::stream::MemoryInputStream in(bytes);
    Decoder decoder(in);
    decoder& field("Database", database);
}

std::string xml(const Database& database)
{
    io::serialization::XMLEncoder encoder;
    encoder& field("Database", database);
    return encoder.printToBuffer();
}

void decodeXML(Database& database, const std::string& text)
{
    io::serialization::XMLDecoder decoder;
    decoder.loadFromString(text);
    decoder& field("Database", database);
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

TEST_F(DatabaseTest, RefusesTheThirtySecondTemplateButDecodesIt)
{
    for (int i = 0; i < 31; ++i) {
        EXPECT_TRUE(database.addTemplate(withID(i)));
    }
    EXPECT_FALSE(database.addTemplate(withID(31)));
    EXPECT_EQ(database.numTemplates(), 31);

    // The count stands in front of the templates; append one more.
    auto bytes = encoded(database);
    const auto one = test::encoded(TemplateSpec{.id = 31});
    const std::size_t countAt = bytes.size() - 31 * one.size() - 4;
    ASSERT_EQ(bytes[countAt], std::byte{31});
    bytes[countAt] = std::byte{32};
    bytes.insert(bytes.end(), one.begin(), one.end());
    decode(database, bytes);
    EXPECT_EQ(database.numTemplates(), 32);
    EXPECT_EQ(database.getTemplate(31)->id, 31);

    bytes[countAt] = std::byte{33};
    bytes.insert(bytes.end(), one.begin(), one.end());
    const std::string message =
        thrown<io::serialization::SerializationException>([&] { decode(database, bytes); });
    EXPECT_THAT(message, testing::AllOf(HasSubstr("TemplateCount"), HasSubstr("33")));
    EXPECT_EQ(database.numTemplates(), 32);
}

TEST_F(DatabaseTest, FindsReplacesAndRemovesTemplates)
{
    EXPECT_EQ(database.createID(), 0);
    for (const int id : {7, 9, 8}) {
        database.addTemplate(withID(id));
    }
    EXPECT_EQ(database.createID(), 10);
    EXPECT_EQ(database.getTemplateById(8)->id, 8);
    EXPECT_EQ(database.findTemplateById(6), nullptr);
    for (const int bad : {-1, 3}) {
        EXPECT_EQ(thrown<Exception>([&] { (void)database.getTemplate(bad); }),
                  "Invalid template index.");
        EXPECT_EQ(thrown<Exception>([&] { database.setTemplate(bad, withID(1)); }),
                  "Invalid template index.");
        EXPECT_FALSE(database.removeTemplate(bad));
    }
    EXPECT_EQ(thrown<Exception>([&] { (void)database.getTemplateById(6); }),
              "Invalid template ID.");
    EXPECT_EQ(ids(database), (std::vector{7, 9, 8}));

    EXPECT_TRUE(database.removeTemplate(1));
    EXPECT_EQ(ids(database), (std::vector{7, 8}));
    EXPECT_EQ(database.createID(), 9) << "one above the largest that is left";
    database.setTemplate(0, withID(-4));
    EXPECT_EQ(ids(database), (std::vector{-4, 8}));
    database.clear();
    EXPECT_EQ(database.numTemplates(), 0);
}

TEST_F(DatabaseTest, TellsOfAnotherComparatorAndOfNothingElse)
{
    comparators::AdvancedComparator settings;
    settings.maxError = fp<32, 30>(5);
    database.setComparator(settings);
    database.setConfig(configFor("Outer and inner contours"));
    EXPECT_EQ(database.comparator()->maxError.raw(), 5) << "the same one goes on";
    EXPECT_TRUE(heard.empty());

    const DatabaseState before = database.state();
    database.setConfig(configFor("Outer contours"));
    EXPECT_EQ(database.comparator()->maxError.raw(), 10737418) << "a new one has its defaults";
    database.setState(before);
    EXPECT_EQ(database.comparator()->maxError.raw(), 5);
    EXPECT_EQ(heard, (std::vector{false, true}));
}

TEST_F(DatabaseTest, ComparatorSettingsOfAnotherClassApplyAsFarAsShared)
{
    comparators::StereoComparator stereo;
    stereo.maxError = fp<32, 30>(6);
    comparators::AdvancedComparator advanced;
    advanced.compareAngles = true;
    database.setComparator(advanced);
    database.setComparator(stereo);
    const auto now = database.comparator();
    const auto* const held = dynamic_cast<const comparators::AdvancedComparator*>(now.get());
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->maxError.raw(), 6);
    EXPECT_TRUE(held->compareAngles);
}

void expectThatEverythingSurvivesBothCoders(const char* comparatorName)
{
    SCOPED_TRACE(comparatorName);
    Database original;
    DatabaseConfiguration config = configFor(comparatorName);
    Transform transform;
    transform.flipAxes = true;
    transform.combinedMatrix.column2 = Complex<32, 15>::fromRaw(32768, 65536);
    config.setTransform(transform);
    original.setConfig(config);
    comparators::AdvancedComparator settings;
    settings.maxError = fp<32, 30>(1 << 28);
    settings.compareDistances = true;
    original.setComparator(settings);
    original.addTemplate(
        makeTemplate({.id = 12,
                      .shape = descriptor({{1, 8192, 16384}}, 32768),
                      .holes = {{fp<32, 15>(32768), fp<32, 28>(1 << 28), fp<32, 15>(16384)}}}));

    Database fromBinary;
    decode(fromBinary, encoded(original));
    EXPECT_EQ(encoded(fromBinary), encoded(original));
    EXPECT_TRUE(fromBinary.config() == config);

    Database fromXML;
    decodeXML(fromXML, xml(original));
    EXPECT_EQ(xml(fromXML), xml(original));
    EXPECT_EQ(encoded(fromXML), encoded(original)) << "all values are short in decimal";
}

TEST(Database, IsStoredWithEitherComparator)
{
    expectThatEverythingSurvivesBothCoders("Outer and inner contours");
    expectThatEverythingSurvivesBothCoders("Outer contours");
}

TEST_F(DatabaseTest, AFailedDecodingChangesNothing)
{
    Database other;
    other.setConfig(configFor("Outer contours"));
    other.addTemplate(withID(1));
    const auto good = encoded(other);
    const std::string goodXML = xml(other);

    database.addTemplate(withID(99));
    const auto before = encoded(database);

    for (std::size_t length = 0; length < good.size(); ++length) {
        const auto decodeStart = [&] { decode(database, std::span(good).first(length)); };
        ASSERT_NE(thrown<Exception>(decodeStart), "(nothing thrown)") << length;
    }
    EXPECT_EQ(thrown<Exception>([&] {
                  decodeXML(database, replaced(goodXML, "Outer contours", "Outer contour"));
              }),
              "Unknown implementation in <ComparatorName>: 'Outer contour'. Known: "
              "'Outer and inner contours', 'Outer contours'.");
    EXPECT_EQ(thrown<Exception>([&] {
                  decodeXML(database,
                            replaced(goodXML, "Outer contours", "Outer and inner contours"));
              }),
              "Element <CompareLengths> not found inside <Comparator>.");
    EXPECT_EQ(encoded(database), before);
    EXPECT_TRUE(heard.empty());

    decode(database, good);
    EXPECT_EQ(encoded(database), good);
    EXPECT_EQ(heard, std::vector{false});
}

TEST_F(DatabaseTest, MatchesEveryObjectOfAFrameAndPassesTheEventOn)
{
    database.addTemplate(withID(5));

    analysis::Frame frame;
    frame.setObject(0, objectOf(descriptor({{3, 20000, 0}})));
    frame.setObject(1, {});
    analysis::FrameEvent event{.frame = &frame, .sourceId = 17};
    database.onEvent(event);

    EXPECT_EQ(results, 1);
    EXPECT_EQ(last.source, &database);
    EXPECT_EQ(last.frame, &frame);
    EXPECT_EQ(last.sourceId, 17);
    ASSERT_EQ(matchings.count(), 2);
    EXPECT_EQ(matchings[0].templateID, -1);
    EXPECT_EQ(matchings[1].templateID, 5);

    frame.setObjectCount(0);
    database.onEvent(event);
    EXPECT_EQ(matchings.count(), 0);
}

/// States whose configuration, comparator and templates belong together by one number.
DatabaseState stateOf(int number)
{
    DatabaseState state;
    state.setConfig(configFor(number % 2 == 0 ? "Outer contours" : "Outer and inner contours"));
    for (int i = 0; i < 8; ++i) {
        state.addTemplate(std::make_shared<const Template>(withID(number)));
    }
    return state;
}

TEST_F(DatabaseTest, ChangesWhileFramesAreMatchedShowWholeStatesOnly)
{
    // State 0 finds the object by its outline, state 1 misses it by its hole: a mixture would
    // report identity 1.
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    database.setState(stateOf(0));
    const analysis::Object object = objectOf({}, {Hole{100, 100}});

    std::atomic<bool> stop{false};
    std::thread changer([&] {
        for (int i = 1; !stop; ++i) {
            database.setState(stateOf(i % 2));
            database.setComparator(*database.comparator());
        }
    });
    std::thread reader([&] {
        while (!stop) {
            const auto bytes = encoded(database);
            ASSERT_FALSE(bytes.empty());
        }
    });
    // Both states have to be met often, however the threads are scheduled.
    int found = 0;
    int missed = 0;
    bool whole = true;
    while (whole && (found < 2000 || missed < 2000)) {
        Matching matching;
        if (database.findTemplate(matching, object)) {
            ++found;
            whole = matching.templateID == 0;
        } else {
            ++missed;
        }
    }
    stop = true;
    changer.join();
    reader.join();
    EXPECT_TRUE(whole);
}

} // namespace
