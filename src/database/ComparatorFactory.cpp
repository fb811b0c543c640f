#include "database/ComparatorFactory.h"

#include "database/comparators/AdvancedComparator.h"
#include "database/comparators/StereoComparator.h"

namespace tarvik::database {

ComparatorFactory::ComparatorFactory()
{
    constexpr const char* DESCRIPTION = "Compares the sum of squared differences between the "
                                        "frequencies of the fourier descriptors.";
    // NOLINTBEGIN(cppcoreguidelines-owning-memory): addImplementation() takes ownership at once
    addImplementation(new TypedImplementation<comparators::AdvancedComparator>(
        "Outer and inner contours", DESCRIPTION));
    addImplementation(
        new TypedImplementation<comparators::StereoComparator>("Outer contours", DESCRIPTION));
    // NOLINTEND(cppcoreguidelines-owning-memory)
}

std::shared_ptr<Comparator> ComparatorFactory::make(const Implementation* implementation)
{
    ComparatorFactory& factory = instance();
    return {factory.create(implementation),
            [&factory](Comparator* comparator) { factory.destroy(comparator); }};
}

} // namespace tarvik::database
