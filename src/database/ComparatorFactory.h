#pragma once

#include "core/util/Factory.h"
#include "core/util/Singleton.h"
#include "database/Comparator.h"

#include <memory>

namespace tarvik::database {

/// Knows two comparators: "Outer and inner contours", the default, and "Outer contours".
class ComparatorFactory : public util::Singleton<ComparatorFactory>,
                          public util::Factory<Comparator>
{
public:
    /// A new comparator with default settings that returns to the factory by itself.
    [[nodiscard]] static std::shared_ptr<Comparator> make(const Implementation* implementation);

private:
    friend class util::Singleton<ComparatorFactory>;
    ComparatorFactory();
};

} // namespace tarvik::database
