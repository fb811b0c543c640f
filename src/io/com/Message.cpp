#include "io/com/Message.h"

#include <utility>

namespace tarvik::io::com {

Message::Message(std::string name, Type type)
    : _name(std::move(name)),
      _type(type),
      _id(idOf(_name))
{}

void Message::receive(Decoder& /*decoder*/) {}

void Message::act() {}

void Message::send(Encoder& /*encoder*/) const {}

std::uint32_t Message::idOf(std::string_view name)
{
    std::uint32_t h = 0;
    for (const char c : name) {
        h = h * 31U + static_cast<unsigned char>(c);
    }
    h *= 31U; // the terminating zero
    return h == 0 ? 1 : h;
}

} // namespace tarvik::io::com
