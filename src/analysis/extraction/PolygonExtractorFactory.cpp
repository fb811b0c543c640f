#include "analysis/extraction/PolygonExtractorFactory.h"

#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"

#include <memory>

namespace tarvik::analysis::extraction {

PolygonExtractorFactory::PolygonExtractorFactory()
{
    using Software = TypedImplementation<chaincode::SoftwarePolygonExtractor>;
    addImplementation(
        std::make_unique<Software>("SoftwarePolygonExtractor", "No Description").release());
}

} // namespace tarvik::analysis::extraction
