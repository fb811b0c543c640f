#pragma once

#include "analysis/ClippingFrame.h"
#include "analysis/ROI.h"
#include "analysis/correction/LCParams.h"
#include "analysis/extraction/PolygonExtractorFactory.h"
#include "core/serialization/Fields.h"
#include "math/fp.h"

namespace tarvik::analysis {

/// What the analyzer looks for. A plain value; the analyzer keeps its own copy.
class AnalyzerConfiguration
{
public:
    using ExtractorImplementation = extraction::PolygonExtractorFactory::Implementation;

    AnalyzerConfiguration() { setPolygonExtractor(nullptr); }

    [[nodiscard]] const ExtractorImplementation* polygonExtractor() const { return _extractor; }

    /// Null selects the factory's default.
    void setPolygonExtractor(const ExtractorImplementation* implementation)
    {
        const auto& factory = extraction::PolygonExtractorFactory::instance();
        _extractor = implementation == nullptr ? factory.defaultImplementation() : implementation;
    }

    /// Outlines shorter than this are dropped, in normalised units: 0.0473.
    fp<32, 15> minPolygonSize{1550};
    /// Outlines longer than this are dropped: 1.831.
    fp<32, 15> maxPolygonSize{60000};
    /// Threshold of the polygon reduction: a vertex survives when its squared distance from its
    /// neighbours' chord exceeds half of this, in raw units of fp<16, 14>.
    fp<16, 15> maxPolygonError{16384};
    /// Keep an outline whose centre lies inside an object already found.
    bool allowNestedObjects = false;
    bool performLensCorrection = true;
    correction::LCParams lensCorrectionParams;
    ClippingFrame clippingFrame;
    ROI roi;

    friend bool operator==(const AnalyzerConfiguration&, const AnalyzerConfiguration&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::choice;
        using io::serialization::field;
        s& choice("PolygonExtractor", extraction::PolygonExtractorFactory::instance(),
                  self._extractor);
        s& field("MinPolygonSize", self.minPolygonSize) &
            field("MaxPolygonSize", self.maxPolygonSize) &
            field("MaxPolygonError", self.maxPolygonError) &
            field("AllowNestedObjects", self.allowNestedObjects) &
            field("PerformLensCorrection", self.performLensCorrection) &
            field("LensCorrectionParams", self.lensCorrectionParams) &
            field("ClippingFrame", self.clippingFrame) & field("ROI", self.roi);
    }

private:
    const ExtractorImplementation* _extractor = nullptr;
};

} // namespace tarvik::analysis
