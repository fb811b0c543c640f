#include "database/Comparator.h"

#include "database/ComparedObject.h"

namespace tarvik::database {

ComparisonResult Comparator::compare(const analysis::Object& object, const Template& t) const
{
    return compare(ComparedObject(object), t);
}

} // namespace tarvik::database
