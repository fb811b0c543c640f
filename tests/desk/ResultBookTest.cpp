#include "ResultBook.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

namespace tarvik::desk {
namespace {

using database::Matching;
using database::Matchings;
using testing::HasSubstr;

Matchings found(std::int16_t id, double confidence)
{
    Matchings matchings;
    matchings.setCount(2);
    matchings.matchings()[0].templateID = id;
    matchings.matchings()[0].confidence = fp<16, 15>::fromDouble(confidence);
    return matchings;
}

TEST(ResultBook, CountsPerTemplateAndPerSecond)
{
    ResultBook book;
    book.add(1, 5000, found(3, 0.5));
    book.add(2, 5999, found(3, 0.25));
    book.add(3, 6000, found(-1, 0));
    const Json json = book.json();
    EXPECT_EQ(json["images"], 3);
    EXPECT_EQ(json["templates"], Json::parse(R"([
        {"template": null, "count": 4, "confidence": 0.0},
        {"template": 3, "count": 2, "confidence": 0.375}])"));
    EXPECT_EQ(json["seconds"].size(), 2U);
    EXPECT_EQ(json["seconds"][0]["images"], 2);
    EXPECT_EQ(json["seconds"][1]["templates"].size(), 1U);
}

TEST(ResultBook, NamesInTheExportCannotBecomeFormulasOrBreakTheLine)
{
    ResultBook book;
    book.add(1, 5000, found(3, 0.5));
    EXPECT_THAT(book.csv({{3, "=HYPERLINK(\"x\")"}}),
                HasSubstr(",3,\"'=HYPERLINK(\"\"x\"\")\",0.0"));
    EXPECT_THAT(book.csv({{3, "Lid, \"M8\""}}), HasSubstr(",3,\"Lid, \"\"M8\"\"\",0.0"));
    EXPECT_THAT(book.csv({}), HasSubstr("1,5000,-1,,"));
}

TEST(ResultBook, RemembersABoundedNumberOfImages)
{
    ResultBook book;
    for (std::size_t i = 0; i < ResultBook::IMAGES + 10; ++i) {
        book.add(i, static_cast<std::int64_t>(i) * 1000, found(1, 0.5));
    }
    const std::string csv = book.csv({});
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'),
              static_cast<std::ptrdiff_t>(2 * ResultBook::IMAGES + 1));
    EXPECT_EQ(book.json()["seconds"].size(), ResultBook::SECONDS);
    EXPECT_EQ(book.json()["images"], ResultBook::IMAGES + 10);
}

} // namespace
} // namespace tarvik::desk
