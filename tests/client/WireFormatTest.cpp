#include "analysis/AnalyzerConfiguration.h"
#include "breakup/BreakupConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "core/logging/LogManager.h"
#include "database/DatabaseState.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryInputStream.h"
#include "io/stream/MemoryOutputStream.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/StreamContents.h"
#include "support/Hex.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarvik {
namespace {

using io::serialization::field;

/// Writes down every value by the path of its element, "ROI.Width 300", fixed-point ones raw.
class FieldRecorder : public io::serialization::Serializer<FieldRecorder>
{
public:
    [[nodiscard]] static constexpr bool isEncoder() { return true; }

    void beginElement(const char* name) { _path.emplace_back(name); }

    void endElement() { _path.pop_back(); }

    template <std::integral T>
    void serialize(T value)
    {
        record(std::to_string(value));
    }

    template <int W, int F>
    void serialize(fp<W, F> value)
    {
        record(std::to_string(value.raw()));
    }

    void serializeText(const std::string& text, std::size_t /*maxLength*/) { record(text); }

    [[nodiscard]] const std::vector<std::string>& records() const { return _records; }

private:
    void record(const std::string& value)
    {
        std::string path;
        for (const std::string& name : _path) {
            path += name.empty() || path.empty() ? name : "." + name;
        }
        _records.push_back(path + " " + value);
    }

    std::vector<std::string> _path;
    std::vector<std::string> _records;
};

/// A value on the wire, and what it means.
struct WireValue
{
    std::string hex;
    std::string meaning;
};

using Layout = std::vector<WireValue>;

Layout joined(const std::vector<Layout>& parts)
{
    Layout whole;
    for (const Layout& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

/// The same values inside another element.
Layout under(const std::string& element, Layout layout)
{
    for (WireValue& value : layout) {
        value.meaning.insert(0, element + ".");
    }
    return layout;
}

/// The bytes decode to these values, and the values encode to these bytes.
template <class T>
void expectLayout(const Layout& layout)
{
    std::string hex;
    std::vector<std::string> meanings;
    for (const WireValue& value : layout) {
        hex += value.hex;
        meanings.push_back(value.meaning);
    }
    const std::vector<std::byte> bytes = test::fromHex(hex);
    io::stream::MemoryInputStream in(bytes);
    io::serialization::BinaryDecoder decoder(in);
    T object{};
    decoder& field("", object);
    EXPECT_EQ(in.bytesAvailable(), 0U);

    FieldRecorder recorder;
    recorder& field("", object);
    EXPECT_EQ(recorder.records(), meanings);

    io::stream::MemoryOutputStream out;
    io::serialization::BinaryEncoder encoder(out);
    encoder& field("", object);
    EXPECT_EQ(test::toHex(out.bytes()), test::toHex(bytes));
}

TEST(WireFormat, Camera)
{
    expectLayout<camera::CameraConfiguration>({
        {"0D 00 00 00 52 31 42 20 28 36 34 30 78 34 38 30 29", "Implementation R1B (640x480)"},
        {"01 00 00 00", "TriggerMode 1"},
        {"01 02 03 80", "ShutterTime 2147680769"},
        {"02", "Gain 2"},
        {"03", "ThresholdLow 3"},
        {"84", "ThresholdHigh 132"},
        {"05", "LowerValH 5"},
        {"06", "GreaterValH 6"},
        {"07", "LowerValS 7"},
        {"08", "GreaterValS 8"},
        {"09", "LowerValV 9"},
        {"0A", "GreaterValV 10"},
        {"01", "Invert 1"},
    });
}

TEST(WireFormat, Analyzer)
{
    expectLayout<analysis::AnalyzerConfiguration>({
        {"18 00 00 00 53 6F 66 74 77 61 72 65 50 6F 6C 79 67 6F 6E 45 78 74 72 61 63 74 6F 72",
         "PolygonExtractor SoftwarePolygonExtractor"},
        {"0E 06 00 00", "MinPolygonSize 1550"},
        {"FF FF FF FF", "MaxPolygonSize -1"},
        {"00 80", "MaxPolygonError -32768"},
        {"01", "AllowNestedObjects 1"},
        {"00", "PerformLensCorrection 0"},
        {"01 00 00 00", "LensCorrectionParams.K1.Q1 1"},
        {"00 01 00 00", "LensCorrectionParams.K1.Q2 256"},
        {"00 00 01 00", "LensCorrectionParams.K1.Q3 65536"},
        {"00 00 00 FF", "LensCorrectionParams.K1.Q4 -16777216"},
        {"33 03", "ClippingFrame.Top.Size 819"},
        {"01", "ClippingFrame.Top.Active 1"},
        {"01 00", "ClippingFrame.Right.Size 1"},
        {"00", "ClippingFrame.Right.Active 0"},
        {"02 00", "ClippingFrame.Bottom.Size 2"},
        {"01", "ClippingFrame.Bottom.Active 1"},
        {"FD FF", "ClippingFrame.Left.Size -3"},
        {"00", "ClippingFrame.Left.Active 0"},
        {"0A 00", "ROI.X 10"},
        {"14 00", "ROI.Y 20"},
        {"2C 01", "ROI.Width 300"},
        {"C8 00", "ROI.Height 200"},
    });
}

TEST(WireFormat, Breakup)
{
    expectLayout<breakup::BreakupConfiguration>({
        {"01", "Enabled 1"},
        {"28 5C 8F 02", "MaxCutLength 42949672"},
    });
}

Layout matrix(int first)
{
    const char* const names[] = {"column0.x", "column0.y", "column1.x",
                                 "column1.y", "column2.x", "column2.y"};
    Layout layout;
    for (const char* const name : names) {
        const std::byte value[] = {static_cast<std::byte>(first), {}, {}, {}};
        layout.push_back({test::toHex(value), name + (" " + std::to_string(first))});
        ++first;
    }
    return layout;
}

Layout databaseConfiguration(const WireValue& comparator)
{
    return joined({{comparator},
                   under("Transform", joined({under("BaseMatrix", matrix(1)),
                                              {{"00 80 00 00", "ScaleX 32768"},
                                               {"00 00 01 00", "ScaleY 65536"},
                                               {"F6 FF FF FF", "OffsetX -10"},
                                               {"0B 00 00 00", "OffsetY 11"},
                                               {"0C 00 00 00", "Rotation 12"},
                                               {"01", "FlipAxes 1"},
                                               {"00", "RotateFirst 0"}},
                                              under("CombinedMatrix", matrix(13))}))});
}

const WireValue OUTER_CONTOURS = {"0E 00 00 00 4F 75 74 65 72 20 63 6F 6E 74 6F 75 72 73",
                                  "ComparatorName Outer contours"};
const WireValue ALL_CONTOURS = {"18 00 00 00 4F 75 74 65 72 20 61 6E 64 20 69 6E 6E 65 72 20 63 6F "
                                "6E 74 6F 75 72 73",
                                "ComparatorName Outer and inner contours"};

TEST(WireFormat, DatabaseSettings)
{
    expectLayout<database::DatabaseConfiguration>(databaseConfiguration(OUTER_CONTOURS));
    expectLayout<database::comparators::AdvancedComparator>({
        {"0A D7 A3 00", "MaxError 10737418"},
        {"00", "CompareLengths 0"},
        {"01", "CompareAngles 1"},
        {"00", "CompareDistances 0"},
        {"01", "CorrectRotation 1"},
        {"D7 03 00 00", "LengthsMaxDiff 983"},
        {"B4 06 00 00", "AnglesMaxDiff 1716"},
        {"48 E1 7A 00", "DistMaxDiff 8053064"},
    });
}

const Layout POLYGON = {
    {"01 10", "Position.x 4097"},
    {"FE EF", "Position.y -4098"},
    {"03 00 01 00", "Length 65539"},
    {"FC FF", "Left -4"},
    {"FB FF", "Top -5"},
    {"06 00", "Right 6"},
    {"07 00", "Bottom 7"},
    {"02 00 00 00", "Points.Size 2"},
    {"08 00", "Points.e.x 8"},
    {"09 00", "Points.e.y 9"},
    {"F6 FF", "Points.e.x -10"},
    {"0B 00", "Points.e.y 11"},
};

/// Fifteen coefficients that count up from the first.
Layout descriptor(int first)
{
    Layout layout = {{"0F 00 00 00", "Frequencies.Size 15"}};
    for (int i = 0; i < 30; ++i) {
        const int value = first + i;
        const std::byte bytes[] = {static_cast<std::byte>(value & 255),
                                   static_cast<std::byte>(value >> 8 & 255)};
        layout.push_back(
            {test::toHex(bytes),
             (i % 2 == 0 ? "Frequencies.e.x " : "Frequencies.e.y ") + std::to_string(value)});
    }
    layout.push_back({"F7 FF FF FF", "Rotation -9"});
    layout.push_back({"60 BE 00 00", "PolygonLength 48736"});
    return layout;
}

Layout templates()
{
    const Layout front = {
        {"2A 00 00 00", "ID 42"},
        {"01 00", "GripPoint.x 1"},
        {"FE FF", "GripPoint.y -2"},
        {"03 00 00 00", "GripHeight 3"},
        {"10 C9 00 00", "GripRotation 51472"},
        {"05 00 00 00", "Rotation 5"},
        {"00 00 05 00", "Height 327680"},
    };
    const Layout holes =
        joined({{{"00", "ConsiderInnerContours 0"}, {"01 00 00 00", "InnerContourCount 1"}},
                under("InnerContour.Polygon", POLYGON),
                {{"01", "IsActive 1"},
                 {"00 40 00 00", "Length 16384"},
                 {"F8 3F 00 02", "Distance 33570808"},
                 {"3F 24 03 00", "Angle 205887"},
                 {"F2 6D FE FF", "FirstInnerContourAngle -102926"}}});
    return joined(
        {{{"01 00 00 00", "TemplateCount 1"}},
         under("Template", joined({front, under("Polygon", POLYGON), under("InnerContours", holes),
                                   under("FourierDescriptor", descriptor(100)),
                                   under("FourierDescriptorRotated", descriptor(-20))}))});
}

TEST(WireFormat, DatabaseWithATemplate)
{
    const Layout common = {{"0A D7 A3 00", "MaxError 10737418"}};
    const Layout advanced = {
        {"01", "CompareLengths 1"},          {"00", "CompareAngles 0"},
        {"01", "CompareDistances 1"},        {"00", "CorrectRotation 0"},
        {"01 00 00 00", "LengthsMaxDiff 1"}, {"02 00 00 00", "AnglesMaxDiff 2"},
        {"03 00 00 00", "DistMaxDiff 3"},
    };
    expectLayout<database::DatabaseState>(
        joined({under("Configuration", databaseConfiguration(OUTER_CONTOURS)),
                under("Comparator", common), templates()}));
    expectLayout<database::DatabaseState>(
        joined({under("Configuration", databaseConfiguration(ALL_CONTOURS)),
                under("Comparator", joined({common, advanced})), templates()}));
}

Layout streaming(bool originalImage, bool binarizedImage, bool frame, bool matchings)
{
    const auto flag = [](const char* name, bool on) {
        return on ? WireValue{"01", std::string(name) + " 1"}
                  : WireValue{"00", std::string(name) + " 0"};
    };
    return under("Streaming", {flag("StreamOriginalImage", originalImage),
                               flag("StreamBinarizedImage", binarizedImage),
                               flag("StreamFrame", frame), flag("StreamMatchings", matchings)});
}

TEST(WireFormat, Stream)
{
    const Layout pictures = {
        {"01", "OriginalImage.Channels 1"},   {"00", "OriginalImage.Format 0"},
        {"00", "OriginalImage.ColorSpace 0"}, {"02 00", "OriginalImage.Width 2"},
        {"01 00", "OriginalImage.Height 1"},  {"0C", "OriginalImage.data.e 12"},
        {"FE", "OriginalImage.data.e 254"},   {"03", "BinaryImage.Channels 3"},
        {"02", "BinaryImage.Format 2"},       {"01", "BinaryImage.ColorSpace 1"},
        {"01 00", "BinaryImage.Width 1"},     {"01 00", "BinaryImage.Height 1"},
        {"01", "BinaryImage.data.e 1"},       {"02", "BinaryImage.data.e 2"},
        {"03", "BinaryImage.data.e 3"},
    };
    const Layout cuts = {
        {"3A 00 00 00 00 00 00 00", "Frame.ElapsedTime1stRun 58"},
        {"FF FF FF FF FF FF FF FF", "Frame.ElapsedTime2ndRun -1"},
        {"01", "Frame.BrokenUp 1"},
        {"00", "Frame.ReAnalyzed 0"},
        {"00 00 00 00 01 00 00 00", "Frame.Cuts.ElapsedTime 4294967296"},
        {"01 00", "Frame.Cuts.Count 1"},
        {"01 00", "Frame.Cuts.Cut.Point1.x 1"},
        {"02 00", "Frame.Cuts.Cut.Point1.y 2"},
        {"03 00 00 00", "Frame.Cuts.Cut.Point1Index 3"},
        {"04 00", "Frame.Cuts.Cut.Point2.x 4"},
        {"05 00", "Frame.Cuts.Cut.Point2.y 5"},
        {"06 00 00 00", "Frame.Cuts.Cut.Point2Index 6"},
        {"07 00 00 00", "Frame.Cuts.Cut.ObjectIndex 7"},
    };
    const Layout object = joined({{{"01 00", "Frame.ObjectCount 1"},
                                   {"0B 00", "Frame.LastObjectCount 11"},
                                   {"0C 00 00 00", "Frame.Object.ID 12"},
                                   {"00", "Frame.Object.Cropped 0"},
                                   {"01", "Frame.Object.Clipped 1"}},
                                  under("Frame.Object.Polygon", POLYGON),
                                  under("Frame.Object.FourierDescriptor", descriptor(300)),
                                  {{"01 00 00 00", "Frame.Object.InnerContourCount 1"}},
                                  under("Frame.Object.InnerContour.Polygon", POLYGON)});
    const Layout matchings = {
        {"04 00 00 00 00 00 00 00", "Matchings.ElapsedTime 4"},
        {"01 00", "Matchings.Count 1"},
        {"2A 00", "Matchings.Matching.TemplateID 42"},
        {"80 F2 09 00", "Matchings.Matching.Position.x 651904"},
        {"FF FF FF FF", "Matchings.Matching.Position.y -1"},
        {"F6 FF FF FF", "Matchings.Matching.Rotation -10"},
        {"FF 7F", "Matchings.Matching.Confidence 32767"},
        {"01 00", "Matchings.Matching.Error 1"},
        {"FF FF", "Matchings.Matching.PossibleCuts -1"},
    };
    expectLayout<com::StreamContents>(streaming(false, false, false, false));
    expectLayout<com::StreamContents>(joined({streaming(false, false, false, true), matchings}));
    expectLayout<com::StreamContents>(
        joined({streaming(true, true, true, true), pictures, cuts, object, matchings}));
}

TEST(WireFormat, TimeAndLogs)
{
    const Layout time = {
        {"FA 00 00 00", "Milliseconds 250"}, {"3B 00 00 00", "Seconds 59"},
        {"3A 00 00 00", "Minutes 58"},       {"0D 00 00 00", "Hours 13"},
        {"18 00 00 00", "Day 24"},           {"0C 00 00 00", "Month 12"},
        {"EA 07 00 00", "Year 2026"},        {"01", "IsUTC 1"},
    };
    expectLayout<sys::DateTime>(time);
    expectLayout<com::LogUpdateContents>(joined(
        {{{"03 00 00 00 41 62 63", "LogName Abc"}, {"05 00 00 00", "LogIndex 5"}},
         under("LogEntry.Time", time),
         {{"02 00 00 00", "LogEntry.Priority 2"}, {"02 00 00 00 68 69", "LogEntry.Message hi"}}}));
    expectLayout<logging::LogManagerSnapshot>(joined({{{"01", "LogConfig.LogToConsole 1"},
                                                       {"02 00 00 00", "LogCount 2"},
                                                       {"01 00 00 00 41", "Log.Name A"},
                                                       {"00 00 00 00", "Log.Index 0"},
                                                       {"01 00 00 00", "Log.EntryCount 1"}},
                                                      under("Log.Entry.Time", time),
                                                      {{"03 00 00 00", "Log.Entry.Priority 3"},
                                                       {"00 00 00 00", "Log.Entry.Message "},
                                                       {"01 00 00 00 42", "Log.Name B"},
                                                       {"01 00 00 00", "Log.Index 1"},
                                                       {"00 00 00 00", "Log.EntryCount 0"}}}));
}

} // namespace
} // namespace tarvik
