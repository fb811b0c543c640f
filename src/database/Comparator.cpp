#include "database/Comparator.h"

#include "database/ComparedObject.h"
#include "database/FrequencyErrors.h"

namespace tarvik::database {

ComparisonResult Comparator::compare(const analysis::Object& object, const Template& t) const
{
    return compare(ComparedObject(object), t, FrequencyErrors(object.fourierDescriptor(), t));
}

} // namespace tarvik::database
