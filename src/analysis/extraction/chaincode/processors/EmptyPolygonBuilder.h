#pragma once

#include <cstdint>

namespace tarvik::analysis::extraction::chaincode::processors {

/// Takes no notice: the trace alone is wanted, for the pixels that it passes.
class EmptyPolygonBuilder
{
public:
    void add(std::uint8_t /*code*/) {}
};

} // namespace tarvik::analysis::extraction::chaincode::processors
