#include "server/TelnetAnswers.h"

#include "Results.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace tarvik::com::server::telnet {
namespace {

using test::matching;

double doubleAt(std::span<const std::byte> bytes, std::size_t offset)
{
    double value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

TEST(TelnetAnswers, GiveOneObjectAsALineOfText)
{
    struct LineCase
    {
        const char* what;
        database::Matching matching;
        TaughtValues taught;
        const char* line;
    };

    constexpr std::int32_t ONE = 1 << 21;
    const LineCase cases[] = {
        {"nothing recognised",
         matching(-1, ONE / 2, -ONE / 4, 0),
         {},
         "-1, 0.00, 0.00, (0.50, -0.25, 0, 0.00, 0, 0)"},
        {"angles in degrees, height as it is",
         matching(7, 3 * ONE, ONE, 102944),
         {fp<32, 15>(98304), fp<32, 15>(51472), fp<32, 15>(1)},
         "7, 90.00, 3.00, (3.00, 1.00, 0, 180.00, 0, 0)"},
        {"below zero",
         matching(0, -ONE, 0, -51472),
         {fp<32, 15>(-16384), {}, {}},
         "0, 0.00, -0.50, (-1.00, 0.00, 0, -90.00, 0, 0)"},
    };
    for (const LineCase& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(objectLine(c.matching, c.taught), c.line);
    }
}

TEST(TelnetAnswers, ReadAtMostTwoCharactersOfAnObjectNumber)
{
    struct IndexCase
    {
        const char* argument;
        int index;
    };

    constexpr IndexCase cases[] = {{"O1", 0},  {"O25", 24},  {"O123", 11}, {"O0", -1},
                                   {"O", -1},  {"Ox", -1},   {"O-1", -2},  {"O 3", 2},
                                   {"O1x", 0}, {"O\xFF", -1}};
    for (const IndexCase& c : cases) {
        EXPECT_EQ(objectIndex(c.argument), c.index) << c.argument;
    }
}

TEST(TelnetAnswers, PutObjectsIntoTheBinaryRecord)
{
    const auto matchings =
        test::matchings({matching(3, 1 << 21, -(1 << 20), 102944), matching(-1)});
    AnswerBuffer answer;
    appendResultRecord(answer, matchings);

    const std::span<const std::byte> bytes = answer.bytes();
    ASSERT_EQ(bytes.size(), 110U);
    constexpr std::array<unsigned char, 30> HEADER = {'R', 'D', 'O', 'R', 'P', 'D', 1, 0, 98,
                                                      0,   0,   0,   2,   0,   0,   0, 5};
    EXPECT_EQ(std::memcmp(bytes.data(), HEADER.data(), HEADER.size()), 0);
    EXPECT_EQ(doubleAt(bytes, 30), 1.0);
    EXPECT_EQ(doubleAt(bytes, 38), -0.5);
    EXPECT_NEAR(doubleAt(bytes, 46), 180.0, 1e-3);
    EXPECT_EQ(doubleAt(bytes, 54), 3.0);
    EXPECT_EQ(doubleAt(bytes, 62), 0.0);
    EXPECT_EQ(doubleAt(bytes, 94), -1.0);
}

TEST(TelnetAnswers, ReportNoMoreThanSixteenObjectsInTheRecord)
{
    database::Matchings matchings;
    matchings.setCount(20);
    AnswerBuffer answer;
    appendResultRecord(answer, matchings);
    const std::span<const std::byte> bytes = answer.bytes();
    ASSERT_EQ(bytes.size(), 30U + 16U * 40U);
    EXPECT_EQ(bytes[8], std::byte{658 & 0xFF});
    EXPECT_EQ(bytes[9], std::byte{658 >> 8});
    EXPECT_EQ(bytes[12], std::byte{16});
}

} // namespace
} // namespace tarvik::com::server::telnet
