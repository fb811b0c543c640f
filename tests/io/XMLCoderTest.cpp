#include "Samples.h"
#include "io/IOException.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"
#include "support/TemporaryFolder.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <string>
#include <vector>

using namespace tarvik;
using namespace tarvik::io;
using namespace tarvik::io::serialization;
using namespace tarvik::test;

namespace {

template <class F>
std::string encoded(const F& wrapper)
{
    XMLEncoder encoder;
    encoder& wrapper;
    const std::string text = encoder.printToBuffer();
    const std::string head = "<?xml version=\"1.0\" ?>\n<Data>\n";
    EXPECT_EQ(text.substr(0, head.size()), head);
    const std::size_t tail = text.rfind("</Data>");
    return text.substr(head.size(), tail - head.size());
}

/// Reading adds a half and truncates towards zero, so a negative number comes back one step higher.
Everything throughText(Everything e)
{
    const auto up = [](auto& value) {
        value += std::remove_reference_t<decltype(value)>(value.raw() < 0 ? 1 : 0);
    };
    up(e.fraction);
    up(e.error);
    for (auto* const point : {&e.point, e.points.data()}) {
        up(point->re);
        up(point->im);
    }
    up(e.column.re);
    up(e.column.im);
    return e;
}

template <class F>
void decode(const std::string& content, const F& wrapper)
{
    XMLDecoder decoder;
    decoder.loadFromString("<?xml version=\"1.0\" ?><Data>" + content + "</Data>");
    decoder& wrapper;
}

/// Raw value that the text decodes to.
template <int W, int F>
std::int64_t rawOf(const std::string& text)
{
    fp<W, F> value;
    decode("<V>" + text + "</V>", field("V", value));
    return value.raw();
}

std::string failure(const std::string& content, void (*read)(XMLDecoder&))
{
    return thrown<SerializationException>([&] {
        XMLDecoder decoder;
        decoder.loadFromString("<Data>" + content + "</Data>");
        read(decoder);
    });
}

std::string repeated(const std::string& part, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += part;
    }
    return text;
}

std::string nested(int levels)
{
    return repeated("<a>", levels) + repeated("</a>", levels);
}

} // namespace

TEST(XMLCoder, WritesTheDocumentedForm)
{
    const std::vector<Complex<16, 14>> points{Complex<16, 14>::fromRaw(16384, -8192)};
    EXPECT_EQ(encoded(array("Points", points, 0, 9)), "\t<Points>\n"
                                                      "\t\t<Size>1</Size>\n"
                                                      "\t\t<e>\n"
                                                      "\t\t\t<x>1.000000</x>\n"
                                                      "\t\t\t<y>-0.500000</y>\n"
                                                      "\t\t</e>\n"
                                                      "\t</Points>\n");
    const std::vector<Complex<16, 14>> none;
    EXPECT_EQ(encoded(array("Points", none, 0, 9)),
              "\t<Points>\n\t\t<Size>0</Size>\n\t</Points>\n");
    const char letter = static_cast<char>(0xFE);
    EXPECT_EQ(encoded(field("Letter", letter)), "\t<Letter>254</Letter>\n");
    const bool flag = true;
    EXPECT_EQ(encoded(field("Flag", flag)), "\t<Flag>1</Flag>\n");
    const std::string text = "a < b & \"c\"";
    EXPECT_EQ(encoded(field("Text", text)), "\t<Text>a &lt; b &amp; &quot;c&quot;</Text>\n");
}

TEST(XMLCoder, ReadsBackEveryKindOfValue)
{
    const Everything sample = sampleEverything();
    Everything read;
    read.points.resize(3);
    decode(encoded(field("Sample", sample)), field("Sample", read));
    EXPECT_EQ(read, throughText(sample));
}

TEST(XMLCoder, ConvertsFixedPointThroughSinglePrecision)
{
    const fp<32, 15> oneAndAHalf(49152);
    EXPECT_EQ(encoded(field("V", oneAndAHalf)), "\t<V>1.500000</V>\n");
    const fp<32, 30> tiny(1);
    EXPECT_EQ(encoded(field("V", tiny)), "\t<V>0.000000</V>\n");
    const fp<32, 15> lengths(983);
    EXPECT_EQ(encoded(field("V", lengths)), "\t<V>0.029999</V>\n");

    EXPECT_EQ((rawOf<32, 15>("1.5")), 49152);
    EXPECT_EQ((rawOf<32, 15>("-0.3")), -9829) << "truncates towards zero after adding 0.5";
    EXPECT_EQ((rawOf<32, 30>("0.010000")), 10737418);
    EXPECT_EQ((rawOf<32, 30>("0.000000")), 0);
    EXPECT_EQ((rawOf<32, 30>("1e-60")), 0) << "too small for single precision";
    EXPECT_EQ((rawOf<32, 15>(" +15.0E-1\n")), 49152);
    EXPECT_EQ((rawOf<32, 15>(".5")), 16384);
    EXPECT_EQ((rawOf<16, 15>("1.0")), -32768) << "keeps the low 16 bits";
    EXPECT_EQ((rawOf<16, 14>("5.0")), 16384) << "keeps the low 16 bits";
    EXPECT_EQ((rawOf<32, 30>("100001.0")), 1 << 30) << "keeps the low 32 bits";
}

TEST(XMLCoder, DoesNotDependOnTheLocale)
{
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
    };

    // The streams' locale in any case, and that of C where one with a decimal comma is installed.
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    for (const char* const name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
        std::setlocale(LC_ALL, name);
    }
    const fp<32, 15> value(49152);
    EXPECT_EQ(encoded(field("V", value)), "\t<V>1.500000</V>\n");
    EXPECT_EQ((rawOf<32, 15>("1.5")), 49152);
    std::setlocale(LC_ALL, "C");
    std::locale::global(before);
}

/// What it says of this text for the value.
template <class T>
std::string refusal(const std::string& text, T value)
{
    return thrown<SerializationException>(
        [&] { decode("<V>" + text + "</V>", field("V", value)); });
}

TEST(XMLDecoder, RefusesNumbersThatDoNotParse)
{
    const auto refused = [](const std::string& text, const char* expected) {
        return "Invalid value in <V>: '" + text + "'. Expected: a " + expected + ".";
    };
    for (const char* const text :
         {"65536", "-1", "12x", "1.5", "0x10", "+-1", "99999999999999999999"}) {
        EXPECT_EQ(refusal(text, std::uint16_t{}), refused(text, "whole number from 0 to 65535"));
    }
    for (const char* const text : {"nan", "inf", "-infinity", "1e39", "1e999999999999999999999",
                                   "0x1p3", "1,5", "1.5rubbish", "1e", ".", "-", "--1", "1 2"}) {
        EXPECT_EQ((refusal(text, fp<32, 15>())), refused(text, "decimal number"));
    }
    for (const char* const text : {"", "<x/>"}) {
        EXPECT_EQ(refusal(text, std::uint16_t{}), "Couldn't read element text of: <V>.");
    }
    for (const char* const text : {"65535", " +7 "}) {
        EXPECT_EQ(refusal(text, std::uint16_t{}), "(nothing thrown)");
    }
}

TEST(XMLDecoder, MatchesElementsByPosition)
{
    constexpr auto readAC = [](XMLDecoder& d) {
        std::int32_t value = 0;
        d.beginElement("Outer");
        d& field("A", value) & field("C", value);
        d.endElement();
    };
    constexpr const char* cases[][2] = {
        {"<Outer><A>1</A><C>2</C></Outer>", "(nothing thrown)"},
        {"<Outer><!-- no element --><A>1</A><C kind=\"x\">2</C></Outer>", "(nothing thrown)"},
        {"<Outer><A>1</A><B>2</B></Outer>", "Invalid element. Expected: <C> Found: <B>."},
        {"<Outer><A>1</A></Outer>", "Element <C> not found inside <Outer>."},
        {"", "Element <Outer> not found."},
        {"<Outer><A>1</A><C>2</C><D>3</D><E/></Outer>",
         "Tried to read end element before finishing reading element: <D>."},
    };
    for (const auto& [document, error] : cases) {
        EXPECT_EQ(failure(document, readAC), error) << document;
    }
    EXPECT_EQ(failure("<A>1</A>",
                      [](XMLDecoder& d) {
                          std::int32_t value = 0;
                          d& field(nullptr, value) & field("B", value);
                      }),
              "Element <B> not found.")
        << "null accepts any name";
    EXPECT_EQ(failure("<A>1</A>", [](XMLDecoder& d) { d.serializeText("A"); }),
              "Invalid operation");
}

TEST(XMLDecoder, BoundsTextsArraysAndNesting)
{
    std::string name;
    std::vector<std::int32_t> values;
    EXPECT_EQ(thrown<SerializationException>(
                  [&] { decode("<Name>12345</Name>", text("Name", name, 4)); }),
              "Invalid text length in <Name>: 5. Allowed: 0 to 4.");
    EXPECT_EQ(thrown<SerializationException>(
                  [&] { decode("<V><Size>2</Size><e>1</e></V>", array("V", values, 0, 4)); }),
              "Element <e> not found inside <V>.");
    constexpr auto descend = [](XMLDecoder& d) {
        for (std::size_t i = 0; i < XMLDecoder::MAX_DEPTH; ++i) {
            d.beginElement("a");
        }
    };
    EXPECT_EQ(failure(nested(31), descend), "Element <a> not found inside <a>.");
    EXPECT_EQ(failure(nested(32), descend),
              "Element <a> is nested too deeply. Allowed: 31 levels.");
}

TEST(XMLDecoder, SurvivesHostileDocuments)
{
    struct Case
    {
        const char* what;
        std::string text;
        const char* error;
    };

    const Case cases[] = {
        {"empty", "", "Error document empty."},
        {"blank", " \n\t", "Error document empty."},
        {"truncated", "<Data><A>1</A", "Error reading end tag. At the end of the text."},
        {"mixed up", "<Data>\n  <A>1</B>", "Error reading end tag. Line 2, column 7."},
        {"no root", "<?xml version=\"1.0\" ?>", "(nothing thrown)"},
        {"declaration only begun", "<?xml ", "(nothing thrown)"},
        {"a zero byte", std::string("<Data>\n\0</Data>", 15),
         "The XML document holds a zero byte in line 2: it is not text."},
        {"10000 nested elements", nested(10000),
         "The XML document has too many nested levels. Allowed: 256."},
        {"never closed", repeated("<a b='/>' c=\"</a>\">", 10000),
         "The XML document has too many nested levels. Allowed: 256."},
        {"too many elements", "<Data>" + repeated("<a/>", 500000) + "</Data>",
         "The XML document has too many nodes. Allowed: 500000."},
        {"too many attributes", "<Data " + repeated("a=\"1\" ", 65) + "/>",
         "The XML document has too many attributes in one element. Allowed: 64."},
        {"100 MB", std::string(100'000'000, ' '),
         "The XML document is too large. Allowed: 67108864 bytes."},
        {"a byte order mark cut short", "\xEF", "Error document empty."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(thrown<SerializationException>([&] { XMLDecoder().loadFromString(c.text); }),
                  c.error);
    }
}

TEST(XMLDecoder, ReportsWhyAFileCannotBeLoaded)
{
    const TemporaryFolder folder;
    const auto load = [&](const std::string& path) {
        return thrown<IOException>([&] { XMLDecoder().loadFromFile(path); });
    };
    EXPECT_EQ(load(folder / "missing.xml"), "Couldn't open file.");
    EXPECT_EQ(load(folder.path()), "Couldn't open file.") << "a folder";
    EXPECT_EQ(load("/dev/zero"), "Couldn't open file.") << "not a regular file";
    writeFile(folder / "empty.xml", "");
    EXPECT_EQ(load(folder / "empty.xml"), "Error document empty.");
}

TEST(XMLEncoder, BuildsNothingThatCouldNotBeLoaded)
{
    XMLEncoder encoder;
    const std::vector<std::int32_t> values(499996);
    encoder& array("Values", values, 0, 0);
    EXPECT_NO_THROW(XMLDecoder().loadFromString(encoder.printToBuffer()));
    EXPECT_EQ(thrown<SerializationException>([&] { encoder.beginElement("one more"); }),
              "The XML document has too many nodes. Allowed: 500000.");
}

/// What it throws, and the reason beside it.
std::string failureOfSaving(const std::string& path)
{
    try {
        XMLEncoder().saveToFile(path);
    } catch (const IOException& e) {
        return std::string(e.what()) + " " + e.reason();
    }
    return "(nothing thrown)";
}

TEST(XMLEncoder, LeavesTheOldFileWhenSavingFails)
{
    const TemporaryFolder folder;
    const auto failure = [&folder](const char* name, const char* what) {
        return "Couldn't save file. '" + (folder / name) + "' cannot be " + what +
               ". The file stays as it was.";
    };
    EXPECT_EQ(failureOfSaving(folder / "missing/config.xml"),
              failure("missing/config.xml.tmp", "created: No such file or directory"));

    std::filesystem::create_directories(folder / "config.xml/occupied");
    EXPECT_EQ(failureOfSaving(folder / "config.xml"),
              failure("config.xml", "replaced: Is a directory"));
    EXPECT_EQ(folder.fileCount(), 1U) << "nothing temporary stays";

    writeFile(folder / "full.xml", "old");
    std::filesystem::create_symlink("/dev/full", folder / "full.xml.tmp");
    EXPECT_EQ(failureOfSaving(folder / "full.xml"),
              failure("full.xml.tmp", "written: No space left on device"));
    EXPECT_EQ(readFile(folder / "full.xml"), "old");
    EXPECT_EQ(folder.fileCount(), 2U) << "nothing temporary stays";
}
