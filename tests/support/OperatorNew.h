#pragma once

namespace tarvik::test {

/// Runs before every operator new of a program that links OperatorNew.cpp; the program says what
/// it does. What it throws ends the allocation.
void beforeAllocation();

} // namespace tarvik::test
