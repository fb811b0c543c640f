#pragma once

namespace tarvik::analysis {
class Object;
}

namespace tarvik::database {

class DatabaseState;
struct Matching;

/// Compares one object with every template of the state, and says where it lies in output
/// coordinates. True when a template was found; an object that the image border clips is not
/// compared at all. Allocates nothing.
bool recognize(const DatabaseState& state, const analysis::Object& object, Matching& matching);

} // namespace tarvik::database
