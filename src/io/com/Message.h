#pragma once

#include "io/net/TCPSocket.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/BufferedInputStream.h"
#include "io/stream/BufferedOutputStream.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::io::com {

using Encoder = serialization::BinaryEncoder<stream::BufferedOutputStream<net::TCPSocket>>;
using Decoder = serialization::BinaryDecoder<stream::BufferedInputStream<net::TCPSocket>>;

/// One kind of message of the channel (Com).
///
/// A message that arrives passes receive(), act() and, for a request, send(), on one registered
/// object that is reused for every arrival. Only act() runs under the action lock and may take
/// locks of its own; the other two talk to a peer that may stop halfway. So receive() decodes into
/// the message's own members, act() applies them and gathers there what the answer will say, and
/// send() writes what is there.
class Message
{
public:
    enum class Type : std::int32_t
    {
        Command = 1,      ///< client to server, without reply
        Notification = 2, ///< server to client, without reply
        Request = 3,      ///< client to server; the reply has the same id
    };

    Message(std::string name, Type type);
    virtual ~Message() = default;

    /// Reads the payload; by default there is none. Holds no lock but the channel's receive lock.
    virtual void receive(Decoder& decoder);

    /// Acts on what has been received. Runs under the action lock of Com::receive().
    virtual void act();

    /// Writes the payload; by default there is none. Runs under the channel's send lock and must
    /// take no other.
    virtual void send(Encoder& encoder) const;

    [[nodiscard]] const std::string& name() const { return _name; }

    [[nodiscard]] Type type() const { return _type; }

    [[nodiscard]] std::uint32_t id() const { return _id; }

    /// The id of a message name: h = 31 h + b over its bytes and a terminating zero, modulo 2^32;
    /// 1 if that is 0.
    [[nodiscard]] static std::uint32_t idOf(std::string_view name);

protected:
    Message(const Message&) = default;
    Message& operator=(const Message&) = default;

private:
    std::string _name;
    Type _type;
    std::uint32_t _id;
};

} // namespace tarvik::io::com
