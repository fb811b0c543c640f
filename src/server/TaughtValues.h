#pragma once

#include "math/fp.h"

namespace tarvik::database {
class Database;
}

namespace tarvik::com::server {

/// What was taught with a template and travels with every result that names it; zeros for an
/// object without a template, or one whose template has been removed meanwhile.
struct TaughtValues
{
    fp<32, 15> height;
    fp<32, 15> gripRotation; ///< radians
    fp<32, 15> gripHeight;
};

/// The values of the template with this ID (-1 for none) as they are now. Takes the database lock;
/// allocates nothing.
[[nodiscard]] TaughtValues taughtValues(const database::Database& database, int templateID);

} // namespace tarvik::com::server
