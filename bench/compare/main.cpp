#include "compare/Limits.h"
#include "compare/Own.h"
#include "compare/Peer.h"
#include "compare/Pictures.h"
#include "compare/Table.h"
#include "core/logging/LogManager.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

/// This project's stages beside OpenCV doing the same job on the same pictures, and beside what the
/// machine allows. Prints a table; with an argument it draws the chart into that file.
///
/// Exit status: 1 when the two sides find different numbers of parts, 0 whatever the ratios are.

namespace {

using namespace tarvik;
using namespace tarvik::bench;

constexpr const char* OUTER = "Outer contours";
constexpr const char* OUTER_AND_INNER = "Outer and inner contours";

/// Both sides with the same 32 templates.
struct Sides
{
    Sides()
    {
        const auto pictures = teachingPictures();
        own.teach(pictures);
        peer.teach(pictures);
        linkedRuns.teach(pictures);
    }

    Own own;
    Peer peer{Peer::Method::BorderFollowing};
    Peer linkedRuns{Peer::Method::LinkedRuns};
};

struct Size
{
    int width;
    int height;
};

constexpr Size SMALL{640, 480};
constexpr Size LARGE{1280, 1024};

std::string titleOf(const Picture& picture, const char* job)
{
    return picture.name + ", " + std::to_string(picture.grey.width()) + " × " +
           std::to_string(picture.grey.height()) + ": " + job;
}

Row wholeImage(Sides& sides, const Picture& picture, double goal, double least)
{
    const image::Image& grey = picture.grey;
    return {titleOf(picture, "grey picture to matchings"),
            {{"ours", [&] { sides.own.recognize(grey); }},
             {"OpenCV, border following", [&] { sides.peer.recognize(grey); }},
             {"OpenCV, linked runs", [&] { sides.linkedRuns.recognize(grey); }}},
            Row::Better::More,
            goal,
            least};
}

/// The goal's other side: threshold, findContours (simple chain, two levels), approxPolyDP.
Row polygons(Sides& sides, const Picture& picture)
{
    const image::Image& grey = picture.grey;
    return {titleOf(picture, "grey picture to polygons"),
            {{"ours", [&] { sides.own.findPolygons(grey); }},
             {"OpenCV, border following", [&] { sides.peer.findPolygons(grey); }}},
            Row::Better::More,
            4,
            3};
}

/// The same with OpenCV's faster way of finding contours.
Row polygonsByRuns(Sides& sides, const Picture& picture)
{
    const image::Image& grey = picture.grey;
    return {titleOf(picture, "grey picture to polygons"),
            {{"ours", [&] { sides.own.findPolygons(grey); }},
             {"OpenCV, linked runs", [&] { sides.linkedRuns.findPolygons(grey); }}}};
}

/// Words for the bits of a picture.
std::vector<std::uint32_t> bitsFor(const Picture& picture)
{
    return std::vector<std::uint32_t>(picture.grey.pixelCount() / 32);
}

Row blankAgainstPack(Sides& sides, const Picture& blank, std::vector<std::uint32_t>& bits)
{
    return {titleOf(blank, "grey picture to matchings"),
            {{"ours", [&] { sides.own.recognize(blank.grey); }},
             {"SIMD pack", [&] { pack(blank.grey.bytes(), bits); }}},
            Row::Better::Less,
            1.5,
            2};
}

/// 25 vectors against 32 templates in two orientations.
Row comparison(Sides& sides, const char* comparator)
{
    static const std::vector<Lanes> VECTORS(64);
    return {std::string("25 objects × 32 templates, \"") + comparator + "\"",
            {{"ours", [&] { sides.own.compare(); }},
             {"SIMD squared differences",
              [] {
                  static std::array<std::int32_t, 64> errors;
                  for (std::size_t i = 0; i < 25; ++i) {
                      squaredDifferences(VECTORS[i], VECTORS, errors);
                      asm volatile("" : : "r"(errors.data()) : "memory");
                  }
              }}},
            Row::Better::Less,
            2,
            4};
}

Row thresholdLimit(Sides& sides, const Picture& picture, image::Image& binary)
{
    return {titleOf(picture, "threshold"),
            {{"ours", [&] { sides.own.threshold(picture.grey); }},
             {"SIMD threshold", [&] { threshold(picture.grey.bytes(), binary.bytes()); }}},
            Row::Better::Less};
}

Row packLimit(Sides& sides, const Picture& picture, std::vector<std::uint32_t>& bits)
{
    return {titleOf(picture, "pack"),
            {{"ours", [&] { sides.own.pack(); }},
             {"SIMD pack", [&] { pack(picture.grey.bytes(), bits); }},
             {"reading the picture once",
              [&] {
                  const volatile std::uint64_t sum = readOnce(picture.grey.bytes());
                  static_cast<void>(sum);
              }}},
            Row::Better::Less};
}

/// The sides do the same job when they find and recognise the same parts.
bool agree(Sides& sides, const Picture& picture)
{
    const int objects = sides.own.recognize(picture.grey);
    const int recognized = sides.own.recognized();
    const int peerRecognized = sides.peer.recognize(picture.grey);
    const int peerObjects = sides.peer.findPolygons(picture.grey);
    const int linkedObjects = sides.linkedRuns.findPolygons(picture.grey);
    const int polygons = sides.own.findPolygons(picture.grey);
    std::printf("%s: %d objects, %d recognised; OpenCV %d and %d, %d recognised\n",
                picture.name.c_str(), objects, recognized, peerObjects, linkedObjects,
                peerRecognized);
    return objects == polygons && objects == peerObjects && objects == linkedObjects;
}

/// Only rows whose text holds TARVIK_BENCH_ROW, when that is set.
bool wanted(const Row& row)
{
    const char* const filter = std::getenv("TARVIK_BENCH_ROW");
    return filter == nullptr || row.what.find(filter) != std::string::npos;
}

void add(std::vector<Row>& rows, Row row)
{
    if (!wanted(row)) {
        return;
    }
    measure(row);
    std::printf("%s", markdown({row}).substr(markdown({}).size()).c_str());
    std::fflush(stdout);
    rows.push_back(std::move(row));
}

} // namespace

int main(int argc, char** argv)
{
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    const Picture parts8 = makePicture(Content::Parts8, SMALL.width, SMALL.height);
    const Picture parts25 = makePicture(Content::Parts25, SMALL.width, SMALL.height);
    const Picture large = makePicture(Content::Parts25, LARGE.width, LARGE.height);
    const Picture noisy = makePicture(Content::NoisyParts, SMALL.width, SMALL.height);
    const Picture blank = makePicture(Content::Blank, SMALL.width, SMALL.height);
    const Picture random = makePicture(Content::Random, SMALL.width, SMALL.height);
    const Picture checkerboard = makePicture(Content::Checkerboard, SMALL.width, SMALL.height);

    const auto sides = std::make_unique<Sides>();
    bool same = true;
    for (const Picture* picture : {&parts8, &parts25, &large}) {
        same = agree(*sides, *picture) && same;
    }
    agree(*sides, noisy);

    auto bits = bitsFor(parts25);
    image::Image binary(parts25.grey.width(), parts25.grey.height());
    std::vector<Row> rows;
    std::printf("\n%s", markdown({}).c_str());
    add(rows, wholeImage(*sides, parts25, 4, 2.5));
    add(rows, wholeImage(*sides, large, 4, 2.5));
    add(rows, wholeImage(*sides, parts8, 0, 0));
    add(rows, wholeImage(*sides, noisy, 0, 0));
    for (const Picture* picture : {&parts25, &large, &parts8}) {
        add(rows, polygons(*sides, *picture));
        add(rows, polygonsByRuns(*sides, *picture));
    }
    add(rows, wholeImage(*sides, checkerboard, 10, 5));
    add(rows, wholeImage(*sides, random, 10, 5));
    add(rows, blankAgainstPack(*sides, blank, bits));
    for (const char* const comparator : {OUTER, OUTER_AND_INNER}) {
        sides->own.useComparator(comparator);
        sides->own.recognize(parts25.grey);
        add(rows, comparison(*sides, comparator));
    }
    add(rows, thresholdLimit(*sides, parts25, binary));
    add(rows, packLimit(*sides, parts25, bits));

    if (argc > 1) {
        std::ofstream(argv[1]) << svg(rows);
    }
    if (!same) {
        std::fprintf(stderr, "The two sides find different parts: the times mean nothing.\n");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
