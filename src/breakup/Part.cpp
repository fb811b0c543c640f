#include "breakup/Part.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <numeric>

namespace tarvik::breakup {

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): what lies past the length is never read
Part::Part(int n) : _length(n)
{
    assert(n >= 0 && n <= CAPACITY);
    std::iota(_indices.begin(), _indices.begin() + n, std::int16_t{0});
}

int Part::index(int v) const
{
    const auto all = indices();
    const auto found = std::find(all.rbegin(), all.rend(), v);
    return static_cast<int>(std::distance(found, all.rend())) - 1;
}

bool Part::containsCut(const Cut& cut) const
{
    const int a = index(cut.point1Index);
    const int b = index(cut.point2Index);
    if (a < 0 || b < 0) {
        return false;
    }
    return b - a >= 2 && !(a == 0 && b == _length - 1);
}

bool Part::copyTo(Part& destination, int from, int to, int count) const
{
    if (from < 0 || to < 0 || count < 0 || from > _length - count ||
        to > destination._length - count) {
        return false;
    }
    std::copy_n(_indices.begin() + from, count, destination._indices.begin() + to);
    return true;
}

Part Part::outer(const Cut& cut) const
{
    const int a = index(cut.point1Index);
    const int b = index(cut.point2Index);
    Part part(a + 1 + _length - b);
    copyTo(part, 0, 0, a + 1);
    copyTo(part, b, a + 1, _length - b);
    return part;
}

Part Part::inner(const Cut& cut) const
{
    const int a = index(cut.point1Index);
    const int b = index(cut.point2Index);
    Part part(b - a + 1);
    copyTo(part, a, 0, b - a + 1);
    return part;
}

} // namespace tarvik::breakup
