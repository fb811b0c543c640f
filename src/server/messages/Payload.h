#pragma once

#include "core/serialization/Fields.h"
#include "io/com/Message.h"
#include "protocol/MessageKinds.h"

#include <utility>

/// The messages that clients send, each bound to what it reads or changes. A message decodes its
/// payload into a copy of its own while it holds no lock, and applies it as a whole in act(), under
/// the server's action lock; a payload that breaks off changes nothing.
namespace tarvik::com::server::messages {

/// A message that is all in what act() does.
class Plain : public io::com::Message
{
public:
    explicit Plain(const kinds::MessageKind& kind) : Message(kind.name, kind.type) {}
};

/// A message that brings an object T.
template <class T>
class Incoming : public Plain
{
public:
    Incoming(const kinds::MessageKind& kind, const char* element) : Plain(kind), _element(element)
    {}

    void receive(io::com::Decoder& decoder) override
    {
        T fresh{};
        decoder& io::serialization::field(_element, fresh);
        _payload = std::move(fresh);
    }

protected:
    [[nodiscard]] T& payload() { return _payload; }

private:
    const char* _element;
    T _payload{};
};

/// A request that is answered with an object T, which act() provides.
template <class T>
class Answered : public Plain
{
public:
    Answered(const kinds::MessageKind& kind, const char* element) : Plain(kind), _element(element)
    {}

    void send(io::com::Encoder& encoder) const override
    {
        encoder& io::serialization::field(_element, _answer);
    }

protected:
    void setAnswer(T answer) { _answer = std::move(answer); }

private:
    const char* _element;
    T _answer{};
};

} // namespace tarvik::com::server::messages
