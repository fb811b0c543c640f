#pragma once

#include "analysis/extraction/PolygonExtractor.h"

namespace tarvik::analysis::extraction::chaincode {

/// The extractors that follow contours as a Freeman chain code (Freeman, "On the Encoding of
/// Arbitrary Geometric Configurations", IRE Transactions on Electronic Computers, 1961).
class ChainCodePolygonExtractor : public PolygonExtractor
{};

} // namespace tarvik::analysis::extraction::chaincode
