#pragma once

#include "analysis/extraction/PolygonExtractor.h"
#include "core/util/Factory.h"
#include "core/util/Singleton.h"

namespace tarvik::analysis::extraction {

/// Knows one extractor, "SoftwarePolygonExtractor".
class PolygonExtractorFactory : public util::Singleton<PolygonExtractorFactory>,
                                public util::Factory<PolygonExtractor>
{
private:
    friend class util::Singleton<PolygonExtractorFactory>;
    PolygonExtractorFactory();
};

} // namespace tarvik::analysis::extraction
