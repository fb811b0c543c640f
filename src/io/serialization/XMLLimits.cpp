#include "io/serialization/XMLLimits.h"

#include "io/serialization/SerializationException.h"

#include <algorithm>
#include <string>

namespace tarvik::io::serialization {

namespace {

/// Walks over the tags as the parser will and counts, without building anything.
class Scanner
{
public:
    explicit Scanner(std::string_view text) : _rest(text) {}

    void run()
    {
        while (skipPast("<")) {
            if (startsWith("!--")) {
                checkXMLCount(++_nodes, XMLLimits::MAX_NODES, "nodes");
                skipPast("-->");
            } else if (startsWith("![CDATA[")) {
                checkXMLCount(++_nodes, XMLLimits::MAX_NODES, "nodes");
                skipPast("]]>");
            } else if (startsWith("/")) {
                _level -= _level > 0 ? 1 : 0;
            } else {
                checkXMLCount(++_nodes, XMLLimits::MAX_NODES, "nodes");
                tag();
            }
        }
    }

private:
    [[nodiscard]] bool startsWith(std::string_view prefix) const
    {
        return _rest.starts_with(prefix);
    }

    /// Goes on behind the next occurrence; false, at the end of the text, when there is none.
    bool skipPast(std::string_view mark)
    {
        const std::size_t found = _rest.find(mark);
        _rest.remove_prefix(found == std::string_view::npos ? _rest.size() : found + mark.size());
        return found != std::string_view::npos;
    }

    /// A start tag, or whatever else begins with '<': opens a level unless it closes itself.
    void tag()
    {
        if (startsWith("!") || startsWith("?")) {
            skipPast(">");
            return;
        }
        std::size_t attributes = 0;
        for (;;) {
            _rest.remove_prefix(std::min(_rest.find_first_of("\"'=/>"), _rest.size()));
            if (_rest.empty()) {
                return;
            }
            const char mark = _rest.front();
            _rest.remove_prefix(1);
            if (mark == '>') {
                checkXMLCount(++_level, XMLLimits::MAX_LEVELS, "nested levels");
                return;
            }
            if (mark == '/' && startsWith(">")) {
                return;
            }
            if (mark == '=') {
                checkXMLCount(++attributes, XMLLimits::MAX_ATTRIBUTES, "attributes in one element");
            } else if (mark == '"' || mark == '\'') {
                skipPast(std::string_view(&mark, 1));
            }
        }
    }

    std::string_view _rest;
    std::size_t _nodes = 0;
    std::size_t _level = 0;
};

} // namespace

void checkXMLCount(std::size_t count, std::size_t limit, const char* what)
{
    if (count > limit) {
        throw SerializationException(std::string("The XML document has too many ") + what +
                                     ". Allowed: " + std::to_string(limit) + ".");
    }
}

void checkXMLLimits(std::string_view text)
{
    if (text.size() > XMLLimits::MAX_BYTES) {
        throw SerializationException("The XML document is too large. Allowed: " +
                                     std::to_string(XMLLimits::MAX_BYTES) + " bytes.");
    }
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
        const std::string_view before = text.substr(0, zero);
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        throw SerializationException("The XML document holds a zero byte in line " +
                                     std::to_string(line) + ": it is not text.");
    }
    Scanner(text).run();
}

} // namespace tarvik::io::serialization
