#pragma once

#include "core/serialization/Fields.h"
#include "io/com/Message.h"
#include "protocol/MessageKinds.h"
#include "protocol/StreamContents.h"

#include <functional>
#include <memory>
#include <utility>

/// The messages as a client sees them: what it sends, and what arrives.
namespace tarvik::client {

/// A message without payload.
class Plain : public io::com::Message
{
public:
    explicit Plain(const com::kinds::MessageKind& kind) : Message(kind.name, kind.type) {}
};

/// A message that carries an object of the caller's.
template <class T>
class Outgoing final : public Plain
{
public:
    Outgoing(const com::kinds::MessageKind& kind, const T& payload) : Plain(kind), _payload(payload)
    {}

    void send(io::com::Encoder& encoder) const override
    {
        encoder& io::serialization::field("", _payload);
    }

private:
    const T& _payload;
};

/// What arrives in answer to a request.
template <class T>
class Answer final : public Plain
{
public:
    using Plain::Plain;

    /// An answer that nobody awaits gets no further than this.
    void receive(io::com::Decoder& decoder) override
    {
        T fresh{};
        decoder& io::serialization::field("", fresh);
        _incoming = std::move(fresh);
    }

    void act() override { _answer = std::move(_incoming); }

    /// Right after the request has returned.
    [[nodiscard]] T take() { return std::move(_answer); }

private:
    T _incoming{}; ///< receiving thread only
    T _answer{};
};

/// What a server sends on its own account; the handler runs on the receiving thread.
template <class T>
class Incoming final : public Plain
{
public:
    using Handler = std::function<void(std::shared_ptr<const T>)>;

    Incoming(const com::kinds::MessageKind& kind, Handler handler)
        : Plain(kind),
          _handler(std::move(handler))
    {}

    void receive(io::com::Decoder& decoder) override
    {
        auto fresh = std::make_shared<T>();
        decoder& io::serialization::field("", *fresh);
        _contents = std::move(fresh);
    }

    void act() override { _handler(std::move(_contents)); }

private:
    Handler _handler;
    std::shared_ptr<const T> _contents;
};

} // namespace tarvik::client
