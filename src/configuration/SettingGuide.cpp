#include "configuration/SettingGuide.h"

#include <algorithm>
#include <array>

namespace tarvik::configuration {

namespace {

struct Entry
{
    std::string_view
        ending; ///< of the name; "analyzer.ROI.X" in full, "Top.Size" for more than one
    SettingGuide guide;
};

constexpr const char* MATRIX = "Robot units";
constexpr const char* GREY = "grey level";
constexpr const char* HALF_WIDTHS = "half image widths";

/// The first entry whose text the name ends with counts.
constexpr std::array ENTRIES{
    Entry{"server.AutoSaveInterval",
          {"Save by itself", "minutes, 0 for never",
           "Least time between automatic saves of the configuration.", 0, 4294967295.0}},
    Entry{"server.RequestSysTime",
          {"Clock may be set", "", "Lets a client set the camera's clock.", {}, {}}},
    Entry{"udp.AutoDistribute",
          {"Send results", "", "Sends one datagram for every image.", {}, {}}},
    Entry{"udp.DestinationPort",
          {"Receiver's port", "", "UDP port to which results are sent.", 0, 65535}},
    Entry{"udp.DestinationAddress",
          {"Receiver's address",
           "",
           "IPv4 address in dotted form to which results are sent; names are not resolved.",
           {},
           {}}},
    Entry{"telnet.Port",
          {"Port", "", "TCP port of the text interface; 0 takes any free one.", 0, 65535}},
    Entry{"telnet.Timeout",
          {"Patience", "seconds, 0 for never",
           "A client that says nothing for so long is sent away.", 0, 4294967295.0}},
    Entry{"camera.Implementation",
          {"Camera model",
           "",
           "Sensor and picture size; changing it restarts the acquisition.",
           {},
           {}}},
    Entry{"camera.TriggerMode",
          {"Trigger", "0 internal, 1 external",
           "The program takes images by itself, or each pulse on input E0 takes one.", 0, 1}},
    Entry{"camera.ShutterTime",
          {"Exposure", "microseconds", "How long the sensor collects light for one image.", 0,
           1000000}},
    Entry{"camera.Gain", {"Gain", "", "Amplification of the sensor, in its own steps.", 0, 255}},
    Entry{"camera.ThresholdLow",
          {"Threshold from", GREY,
           "Darkest grey that is foreground; above the upper bound "
           "nothing is.",
           0, 255}},
    Entry{"camera.ThresholdHigh",
          {"Threshold to", GREY, "Brightest grey that is foreground.", 0, 255}},
    Entry{"camera.LowerValH",
          {"Hue from", "of 256",
           "First hue of the foreground; above the last one the window runs "
           "on through red.",
           0, 255}},
    Entry{"camera.GreaterValH", {"Hue to", "of 256", "Last hue of the foreground.", 0, 255}},
    Entry{"camera.LowerValS",
          {"Saturation from", "of 255", "Palest colour of the foreground.", 0, 255}},
    Entry{"camera.GreaterValS",
          {"Saturation to", "of 255", "Most vivid colour of the foreground.", 0, 255}},
    Entry{"camera.LowerValV",
          {"Brightness from", "of 255", "Darkest colour of the foreground.", 0, 255}},
    Entry{"camera.GreaterValV",
          {"Brightness to", "of 255", "Brightest colour of the foreground.", 0, 255}},
    Entry{"camera.Invert",
          {"Invert",
           "",
           "Foreground is what lies outside the window: dark parts on a light "
           "ground.",
           {},
           {}}},
    Entry{"analyzer.PolygonExtractor",
          {"Contour tracer", "", "How contours are found; there is one way.", {}, {}}},
    Entry{"analyzer.MinPolygonSize",
          {"Shortest outline", "half image widths around",
           "Outlines and holes shorter than this are dropped.", 0, 65535}},
    Entry{"analyzer.MaxPolygonSize",
          {"Longest outline", "half image widths around",
           "Outlines and holes longer than this are dropped.", 0, 65535}},
    Entry{"analyzer.MaxPolygonError",
          {"Coarseness", "squared deviation of a corner, raw",
           "How far an outline may leave the contour; smaller follows it more closely. Teach anew "
           "after a change.",
           0, 0.9999}},
    Entry{"analyzer.AllowNestedObjects",
          {"Nested objects", "", "Keeps an object that lies inside another one.", {}, {}}},
    Entry{"analyzer.PerformLensCorrection",
          {"Correct the lens", "", "Applies the four coefficients below.", {}, {}}},
    Entry{"K1.Q1",
          {"Upper right", "",
           "A point at distance r moves to r (1 + Q r\u00b2), in the upper "
           "right quadrant.",
           -2, 1.9999}},
    Entry{"K1.Q2", {"Upper left", "", "The same in the upper left quadrant.", -2, 1.9999}},
    Entry{"K1.Q3", {"Lower left", "", "The same in the lower left quadrant.", -2, 1.9999}},
    Entry{"K1.Q4", {"Lower right", "", "The same in the lower right quadrant.", -2, 1.9999}},
    Entry{"Top.Size",
          {"Top band", HALF_WIDTHS,
           "Objects that reach into this band along the "
           "upper edge are not recognised.",
           0, 1.9999}},
    Entry{"Right.Size", {"Right band", HALF_WIDTHS, "The same along the right edge.", 0, 1.9999}},
    Entry{"Bottom.Size", {"Bottom band", HALF_WIDTHS, "The same along the lower edge.", 0, 1.9999}},
    Entry{"Left.Size", {"Left band", HALF_WIDTHS, "The same along the left edge.", 0, 1.9999}},
    Entry{"Top.Active", {"Top band acts", "", "Switches the upper band on.", {}, {}}},
    Entry{"Right.Active", {"Right band acts", "", "Switches the right band on.", {}, {}}},
    Entry{"Bottom.Active", {"Bottom band acts", "", "Switches the lower band on.", {}, {}}},
    Entry{"Left.Active", {"Left band acts", "", "Switches the left band on.", {}, {}}},
    Entry{"ROI.X", {"Left edge", "pixels", "First column that is analysed.", 0, 32767}},
    Entry{"ROI.Y", {"Top edge", "pixels", "First row that is analysed.", 0, 32767}},
    Entry{"ROI.Width", {"Width", "pixels, 0 for all", "Columns that are analysed.", 0, 32767}},
    Entry{"ROI.Height", {"Height", "pixels, 0 for all", "Rows that are analysed.", 0, 32767}},
    Entry{"database.ComparatorName",
          {"Compare",
           "",
           "Outlines and holes, or outlines alone. A change brings the "
           "comparator's default settings.",
           {},
           {}}},
    Entry{"Transform.ScaleX",
          {"Scale X", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.ScaleY",
          {"Scale Y", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.OffsetX",
          {"Offset X", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.OffsetY",
          {"Offset Y", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.Rotation",
          {"Rotation", "radians", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.FlipAxes",
          {"Flip axes", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"Transform.RotateFirst",
          {"Rotate first", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"CombinedMatrix.column0.x",
          {"X per x", MATRIX, "Output X for one unit of image x.", {}, {}}},
    Entry{"CombinedMatrix.column0.y",
          {"X per y", MATRIX, "Output X for one unit of image y.", {}, {}}},
    Entry{"CombinedMatrix.column1.x",
          {"Y per x", MATRIX, "Output Y for one unit of image x.", {}, {}}},
    Entry{"CombinedMatrix.column1.y",
          {"Y per y", MATRIX, "Output Y for one unit of image y.", {}, {}}},
    Entry{"CombinedMatrix.column2.x",
          {"X at the centre", MATRIX, "Output X of the image's centre.", -1024, 1024}},
    Entry{"CombinedMatrix.column2.y",
          {"Y at the centre", MATRIX, "Output Y of the image's centre.", -1024, 1024}},
    Entry{"column0.x",
          {"Base, X per x", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"column0.y",
          {"Base, X per y", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"column1.x",
          {"Base, Y per x", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"column1.y",
          {"Base, Y per y", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"column2.x",
          {"Base, X offset", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"column2.y",
          {"Base, Y offset", "", "Kept for the program that composes the matrix.", {}, {}}},
    Entry{"comparator.MaxError",
          {"Largest error", "",
           "Difference of two outlines that still is a match; smaller is "
           "stricter.",
           0, 1.9999}},
    Entry{"comparator.CompareLengths",
          {"Compare lengths", "", "The perimeters of the holes must agree.", {}, {}}},
    Entry{"comparator.CompareAngles",
          {"Compare angles",
           "",
           "The angles between the holes, seen from the centre, must agree.",
           {},
           {}}},
    Entry{"comparator.CompareDistances",
          {"Compare distances",
           "",
           "The distances of the holes from the centre must agree.",
           {},
           {}}},
    Entry{"comparator.CorrectRotation",
          {"Rotation from holes",
           "",
           "Takes the rotation from the holes' angles, for round parts; "
           "needs Compare angles.",
           {},
           {}}},
    Entry{
        "comparator.LengthsMaxDiff",
        {"Length tolerance", HALF_WIDTHS, "How far the perimeter of a hole may be off.", 0, 65535}},
    Entry{"comparator.AnglesMaxDiff",
          {"Angle tolerance", "radians", "How far the angle between two holes may be off.", 0, 7}},
    Entry{"comparator.DistMaxDiff",
          {"Distance tolerance", HALF_WIDTHS,
           "How far a hole's distance from the centre may be off.", 0, 7.9}},
    Entry{"breakup.Enabled",
          {"Cut parts apart",
           "",
           "Cuts objects that were not recognised at narrow places and "
           "looks again.",
           {},
           {}}},
    Entry{"breakup.MaxCutLength",
          {"Longest cut", HALF_WIDTHS,
           "Wider than the neck between touching parts, narrower than "
           "any place of a single part.",
           0, 1.9999}},
    Entry{"logging.LogToConsole",
          {"Log on the console", "", "Writes the log to standard output.", {}, {}}},
};

} // namespace

const SettingGuide& guideTo(std::string_view name)
{
    static constexpr SettingGuide NOTHING{};
    const auto found = std::ranges::find_if(
        ENTRIES, [name](const Entry& entry) { return name.ends_with(entry.ending); });
    return found == ENTRIES.end() ? NOTHING : found->guide;
}

} // namespace tarvik::configuration
