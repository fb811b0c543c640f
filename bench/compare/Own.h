#pragma once

#include "analysis/Analyzer.h"
#include "analysis/Frame.h"
#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"
#include "chain/Events.h"
#include "compare/Pictures.h"
#include "core/util/Listener.h"
#include "database/Database.h"
#include "image/BinaryImage.h"
#include "image/CompressedBinaryImage.h"

#include <string>
#include <vector>

namespace tarvik::bench {

/// This project's chain from the grey picture to the matchings, as the camera thread runs it.
/// Large; belongs on the heap.
class Own : private util::Listener<database::BreakupEvent>
{
public:
    Own();
    ~Own() override;

    /// Makes templates of the first 32 objects of the pictures.
    void teach(const std::vector<Picture>& pictures);
    void useComparator(const std::string& name);

    /// Grey picture to matchings; the number of objects.
    int recognize(const image::Image& grey);
    /// Objects of the picture last recognised that are instances of a template.
    [[nodiscard]] int recognized() const;
    /// Grey picture to reduced polygons and holes with their owners, neither described nor
    /// matched; the number of objects.
    int findPolygons(const image::Image& grey);
    /// Compares the objects of the picture last recognised with all templates once more.
    void compare();
    void threshold(const image::Image& grey);
    /// Packs the picture last binarized.
    void pack();

private:
    void onEvent(database::BreakupEvent& event) override { _result = event; }

    void takeOutline();
    void takeHole();

    analysis::Analyzer _analyzer;
    database::Database _database;
    database::BreakupEvent _result;
    image::BinaryImage _binary;
    image::CompressedBinaryImage _packed;
    analysis::extraction::chaincode::SoftwarePolygonExtractor _extractor;
    analysis::Frame _frame;
};

} // namespace tarvik::bench
