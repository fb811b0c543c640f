#include "breakup/Part.h"

#include <gmock/gmock.h>

using namespace tarvik::breakup;
using testing::ElementsAre;

namespace {

Cut between(int index1, int index2)
{
    return {index1, {}, index2, {}, 0};
}

struct CutCase
{
    const char* what;
    int index1;
    int index2;
    bool contained;
};

TEST(Part, ContainsACutWhoseEndsAreApart)
{
    // Positions 0 ... 6 hold 0, 1, 2, 6, 7, 8, 9.
    const Part part = Part(10).outer(between(2, 6));
    ASSERT_THAT(part.indices(), ElementsAre(0, 1, 2, 6, 7, 8, 9));
    const CutCase cases[] = {
        {"apart", 1, 6, true},
        {"an end was cut away", 1, 4, false},
        {"neither end is there", 3, 5, false},
        {"neighbours in the part, though not in the contour", 2, 6, false},
        {"the first and the last", 0, 9, false},
        {"one past the first, and the last", 1, 9, true},
        {"the wrong way round", 8, 1, false},
    };
    for (const CutCase& c : cases) {
        EXPECT_EQ(part.containsCut(between(c.index1, c.index2)), c.contained) << c.what;
    }
    EXPECT_EQ(part.index(6), 3);
    EXPECT_EQ(part.index(5), -1);
    EXPECT_TRUE(part.contains(9));
    EXPECT_FALSE(part.contains(10));
}

TEST(Part, IsSplitSoThatBothSidesKeepTheCutsEnds)
{
    const Part part(8);
    EXPECT_THAT(part.outer(between(2, 5)).indices(), ElementsAre(0, 1, 2, 5, 6, 7));
    EXPECT_THAT(part.inner(between(2, 5)).indices(), ElementsAre(2, 3, 4, 5));
    const Part inner = part.inner(between(1, 7));
    EXPECT_THAT(inner.outer(between(3, 6)).indices(), ElementsAre(1, 2, 3, 6, 7));
    EXPECT_THAT(inner.inner(between(3, 6)).indices(), ElementsAre(3, 4, 5, 6));
}

struct CopyCase
{
    const char* what;
    int from;
    int to;
    int count;
    bool copied;
};

TEST(Part, CopiesOnlyWhatBothPartsHold)
{
    const CopyCase cases[] = {
        {"all that fits", 2, 0, 4, true},
        {"nothing at all", 6, 4, 0, true},
        {"past the source", 3, 0, 4, false},
        {"past the destination", 0, 1, 4, false},
        {"from before the start", -1, 0, 2, false},
        {"to before the start", 0, -1, 2, false},
        {"a negative count", 2, 2, -1, false},
        {"a count that overflows the sum", 1, 1, 2147483647, false},
    };
    const Part source(6);
    for (const CopyCase& c : cases) {
        SCOPED_TRACE(c.what);
        Part destination(4);
        EXPECT_EQ(source.copyTo(destination, c.from, c.to, c.count), c.copied);
        if (c.count != 4 || !c.copied) {
            EXPECT_THAT(destination.indices(), ElementsAre(0, 1, 2, 3));
        } else {
            EXPECT_THAT(destination.indices(), ElementsAre(2, 3, 4, 5));
        }
    }
}

} // namespace
