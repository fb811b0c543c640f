#pragma once

#include "core/serialization/Fields.h"
#include "database/ComparatorFactory.h"
#include "database/Transform.h"

namespace tarvik::database {

/// Which comparator the database uses, and where its results lie. A plain value.
class DatabaseConfiguration
{
public:
    using ComparatorImplementation = ComparatorFactory::Implementation;

    DatabaseConfiguration() { setComparatorImpl(nullptr); }

    /// Never null.
    [[nodiscard]] const ComparatorImplementation* comparatorImpl() const { return _comparatorImpl; }

    /// Null selects the factory's default.
    void setComparatorImpl(const ComparatorImplementation* implementation)
    {
        _comparatorImpl = implementation == nullptr
                              ? ComparatorFactory::instance().defaultImplementation()
                              : implementation;
    }

    [[nodiscard]] const Transform& transform() const { return _transform; }

    void setTransform(const Transform& transform) { _transform = transform; }

    friend bool operator==(const DatabaseConfiguration&, const DatabaseConfiguration&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::choice;
        using io::serialization::field;
        s& choice("ComparatorName", ComparatorFactory::instance(), self._comparatorImpl);
        s& field("Transform", self._transform);
    }

private:
    const ComparatorImplementation* _comparatorImpl = nullptr;
    Transform _transform;
};

} // namespace tarvik::database
