#include "io/serialization/XMLDecoder.h"

#include "io/IOException.h"
#include "io/serialization/XMLLimits.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace tarvik::io::serialization {

namespace {

struct FileCloser
{
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the owner is the unique_ptr
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// At most one byte more than is allowed, so that the excess shows.
std::string contentOf(const std::string& path)
{
    struct stat status = {};
    const bool isFile = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    const std::unique_ptr<std::FILE, FileCloser> file(isFile ? std::fopen(path.c_str(), "rbe")
                                                             : nullptr);
    if (file == nullptr) {
        throw IOException("Couldn't open file.");
    }
    std::string content;
    std::array<char, 65536> block{};
    while (content.size() <= XMLLimits::MAX_BYTES) {
        const std::size_t count = std::fread(block.data(), 1, block.size(), file.get());
        if (count == 0) {
            break;
        }
        content.append(block.data(), count);
    }
    if (std::ferror(file.get()) != 0) {
        throw IOException("Couldn't open file.");
    }
    return content;
}

/// " Line 3, column 17." of a text that does not parse.
std::string placeOfError(const std::string& text)
{
    TiXmlDocument document;
    document.SetTabSize(1);
    document.Parse(text.c_str(), nullptr, TIXML_ENCODING_LEGACY);
    if (document.ErrorId() == TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY) {
        return "";
    }
    if (document.ErrorRow() == 0) { // where there is no text any more, nothing can be pointed at
        return " At the end of the text.";
    }
    return " Line " + std::to_string(document.ErrorRow()) + ", column " +
           std::to_string(document.ErrorCol()) + ".";
}

} // namespace

void XMLDecoder::loadFromFile(const std::string& path)
{
    loadFromString(contentOf(path));
}

void XMLDecoder::loadFromString(const std::string& text)
{
    _next = {};
    _depth = 0;
    checkXMLLimits(text);
    _document.Clear();
    _document.ClearError();
    _document.SetTabSize(0); // no bookkeeping of lines and columns, which only a failure needs
    _document.Parse(text.c_str(), nullptr, TIXML_ENCODING_LEGACY);
    if (_document.Error()) {
        throw SerializationException(_document.ErrorDesc() + placeOfError(text));
    }
    if (const TiXmlElement* const root = _document.RootElement()) {
        _next[0] = root->FirstChildElement();
    }
}

void XMLDecoder::beginElement(const char* name)
{
    const TiXmlElement* const element = _next[_depth];
    const std::string expected = name != nullptr ? name : "";
    if (element == nullptr) {
        if (_depth == 0) {
            throw SerializationException("Element <" + expected + "> not found.");
        }
        throw SerializationException("Element <" + expected + "> not found inside <" +
                                     current().ValueStr() + ">.");
    }
    constexpr std::size_t maxCompared = 256;
    if (name != nullptr && std::strncmp(name, element->Value(), maxCompared) != 0) {
        throw SerializationException("Invalid element. Expected: <" + expected + "> Found: <" +
                                     element->ValueStr() + ">.");
    }
    if (_depth + 1 == MAX_DEPTH) {
        throw SerializationException(
            "Element <" + element->ValueStr() +
            "> is nested too deeply. Allowed: " + std::to_string(MAX_DEPTH - 1) + " levels.");
    }
    ++_depth;
    _next[_depth] = element->FirstChildElement();
}

void XMLDecoder::endElement()
{
    if (const TiXmlElement* const unread = _next[_depth]) {
        throw SerializationException(
            "Tried to read end element before finishing reading element: <" + unread->ValueStr() +
            ">.");
    }
    const TiXmlElement* const next = current().NextSiblingElement();
    --_depth;
    _next[_depth] = next;
}

void XMLDecoder::serializeText(std::string& text, std::size_t maxLength)
{
    const std::string_view content = elementText();
    if (content.size() > maxLength) {
        throwInvalidLength(current().ValueStr(), static_cast<std::int64_t>(content.size()),
                           maxLength);
    }
    text = content;
}

void XMLDecoder::serializeText(const char* /*text*/)
{
    throw SerializationException("Invalid operation");
}

std::int64_t XMLDecoder::fixedPoint(int fractionBits) const
{
    float value = 0.0F;
    std::int64_t raw = 0;
    if (!numbertext::parse(elementText(), value) || !numbertext::toRaw(value, fractionBits, raw)) {
        throwInvalidNumber("decimal number");
    }
    return raw;
}

const TiXmlElement& XMLDecoder::current() const
{
    if (_depth == 0) {
        throw SerializationException("Invalid operation");
    }
    return *_next[_depth - 1];
}

std::string_view XMLDecoder::elementText() const
{
    const char* const text = current().GetText();
    if (text == nullptr) {
        throw SerializationException("Couldn't read element text of: <" + current().ValueStr() +
                                     ">.");
    }
    return text;
}

void XMLDecoder::throwInvalidNumber(const std::string& expected) const
{
    throw SerializationException("Invalid value in <" + current().ValueStr() + ">: '" +
                                 printable(elementText()) + "'. Expected: a " + expected + ".");
}

} // namespace tarvik::io::serialization
