#pragma once

#include "io/com/Message.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/stream/MemoryInputStream.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarvik::test {

/// A message of docs/protocol.md, byte by byte.
struct ProtocolExample
{
    std::string name; ///< of the message
    bool fromClient = false;
    std::vector<std::byte> bytes; ///< the id and the payload
};

/// The worked examples of docs/protocol.md in their order; one that stands for a picture has its
/// pixels, all 0.
[[nodiscard]] std::vector<ProtocolExample> protocolExamples();

/// What both sides do with the payload of one kind of message.
struct PayloadCoder
{
    const char* name;
    bool fromClient;
    /// Decodes, and encodes what was decoded; throws what the decoder throws.
    std::function<std::vector<std::byte>(std::span<const std::byte>)> recode;
};

/// The coder of the example's payload.
[[nodiscard]] const PayloadCoder& payloadCoder(const ProtocolExample& example);

} // namespace tarvik::test
