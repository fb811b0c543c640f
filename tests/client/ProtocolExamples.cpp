#include "ProtocolExamples.h"

#include "analysis/AnalyzerConfiguration.h"
#include "breakup/BreakupConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "core/logging/LogManager.h"
#include "core/sys/DateTime.h"
#include "database/DatabaseState.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/MessageKinds.h"
#include "protocol/StreamContents.h"
#include "support/Hex.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace tarvik::test {
namespace {

bool isByte(const std::string& word)
{
    return word.size() == 2 && std::isxdigit(static_cast<unsigned char>(word[0])) != 0 &&
           std::isxdigit(static_cast<unsigned char>(word[1])) != 0;
}

/// Appends the bytes in front of a line's comment, which three blanks set off.
void appendBytes(std::string_view line, std::vector<std::byte>& bytes)
{
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    std::istringstream words{std::string(line.substr(0, line.find("   ")))};
    std::string word;
    while (words >> word && isByte(word)) {
        bytes.push_back(fromHex(word).front());
    }
    std::size_t pixels = 0;
    if (word == "and" && words >> pixels) {
        bytes.resize(bytes.size() + pixels);
    }
}

struct Nothing
{
    template <class S, class Self>
    static void serialize(S& /*s*/, Self& /*self*/)
    {}
};

template <class T>
PayloadCoder coderOf(const com::kinds::MessageKind& kind, bool fromClient)
{
    return {kind.name, fromClient, [](std::span<const std::byte> payload) {
                using io::serialization::field;
                io::stream::MemoryInputStream in(payload);
                io::serialization::BinaryDecoder decoder(in);
                T object{};
                decoder& field("", object);
                io::stream::MemoryOutputStream out;
                io::serialization::BinaryEncoder encoder(out);
                encoder& field("", object);
                return std::vector<std::byte>{out.bytes().begin(), out.bytes().end()};
            }};
}

const std::vector<PayloadCoder>& payloadCoders()
{
    using namespace com::kinds;
    using Comparator = database::comparators::AdvancedComparator;
    constexpr bool CLIENT = true;
    constexpr bool SERVER = false;
    static const std::vector<PayloadCoder> coders = {
        coderOf<Nothing>(GET_ANALYZER_CONFIG, CLIENT),
        coderOf<analysis::AnalyzerConfiguration>(GET_ANALYZER_CONFIG, SERVER),
        coderOf<analysis::AnalyzerConfiguration>(SET_ANALYZER_CONFIG, CLIENT),
        coderOf<Nothing>(GET_CAMERA_CONFIG, CLIENT),
        coderOf<camera::CameraConfiguration>(GET_CAMERA_CONFIG, SERVER),
        coderOf<camera::CameraConfiguration>(SET_CAMERA_CONFIG, CLIENT),
        coderOf<Nothing>(GET_BREAKUP_CONFIG, CLIENT),
        coderOf<breakup::BreakupConfiguration>(GET_BREAKUP_CONFIG, SERVER),
        coderOf<breakup::BreakupConfiguration>(SET_BREAKUP_CONFIG, CLIENT),
        coderOf<Nothing>(GET_DATABASE, CLIENT),
        coderOf<database::DatabaseState>(GET_DATABASE, SERVER),
        coderOf<database::DatabaseState>(SET_DATABASE, CLIENT),
        coderOf<database::DatabaseConfiguration>(SET_DATABASE_CONFIG, CLIENT),
        coderOf<Comparator>(SET_DATABASE_COMPARATOR, CLIENT),
        coderOf<Nothing>(TEST_CONNECTION, CLIENT),
        coderOf<com::StreamingSettings>(CONFIG_STREAMING, CLIENT),
        coderOf<bool>(CONFIG_LOGGING, CLIENT),
        coderOf<logging::LogManagerSnapshot>(CONFIG_LOGGING, SERVER),
        coderOf<sys::DateTime>(SET_SYSTEM_TIME, CLIENT),
        coderOf<Nothing>(SERVER_SHUTDOWN, CLIENT),
        coderOf<Nothing>(SYNC_CONFIG, CLIENT),
        coderOf<com::StreamContents>(STREAM, SERVER),
        coderOf<com::LogUpdateContents>(LOG_UPDATE, SERVER),
        coderOf<image::Image>(SET_CAMERA_SOURCE, CLIENT),
        coderOf<Nothing>(UNSET_CAMERA_SOURCE, CLIENT),
        coderOf<Nothing>(GET_CAM_IMG_OVERRIDDEN, CLIENT),
        coderOf<bool>(GET_CAM_IMG_OVERRIDDEN, SERVER),
    };
    return coders;
}

/// Names the message by its id; a text that is none of ours fails the test that asks.
std::string nameOf(std::span<const std::byte> bytes)
{
    std::uint32_t id = 0;
    if (bytes.size() >= sizeof id) {
        std::memcpy(&id, bytes.data(), sizeof id);
    }
    for (const PayloadCoder& coder : payloadCoders()) {
        if (io::com::Message::idOf(coder.name) == id) {
            return coder.name;
        }
    }
    throw std::runtime_error("no message has the id of " + toHex(bytes.first(4)));
}

} // namespace

std::vector<ProtocolExample> protocolExamples()
{
    std::istringstream text(readFile(TARVIK_PROTOCOL));
    std::vector<ProtocolExample> examples;
    bool inChapter = false;
    bool inBlock = false;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("## ")) {
            inChapter = line == "## Worked examples";
        } else if (inChapter && line.starts_with("```")) {
            inBlock = !inBlock;
        } else if (inBlock && (line.starts_with("> ") || line.starts_with("< "))) {
            examples.push_back({"", line[0] == '>', {}});
            appendBytes(std::string_view(line).substr(2), examples.back().bytes);
        } else if (inBlock) {
            appendBytes(line, examples.back().bytes);
        }
    }
    for (ProtocolExample& example : examples) {
        example.name = nameOf(example.bytes);
    }
    return examples;
}

const PayloadCoder& payloadCoder(const ProtocolExample& example)
{
    const auto& coders = payloadCoders();
    const auto found = std::ranges::find_if(coders, [&](const PayloadCoder& coder) {
        return coder.name == example.name && coder.fromClient == example.fromClient;
    });
    if (found == coders.end()) {
        throw std::runtime_error("nobody sends " + example.name + " in this direction");
    }
    return *found;
}

} // namespace tarvik::test
