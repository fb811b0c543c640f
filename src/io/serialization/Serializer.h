#pragma once

#include "core/serialization/Fields.h"
#include "io/serialization/SerializationException.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

namespace tarvik::io::serialization {

/// The longest text that a plain std::string field takes, in bytes.
inline constexpr std::size_t DEFAULT_MAX_TEXT = 65535;

/// The front end that all coders share: what `s & field(...)` means, for every kind of value, in
/// terms of the few operations that a coder E has (beginElement, endElement, serialize of one
/// number, serializeText, and, where it can, serializeBlock for a run of numbers).
///
/// The coder is its own Serializer, and everything is resolved while compiling. See
/// core/serialization/Fields.h for the objects' side.
template <class E>
class Serializer
{
public:
    template <class T>
    E& operator&(const Field<T>& field)
    {
        return element(field.name, [&] { value(field.value); });
    }

    template <class S>
    E& operator&(const Text<S>& text)
    {
        return element(text.name, [&] { coder().serializeText(text.text, text.maxLength); });
    }

    /// In XML an element "Size" and one "e" per item; in binary the count and the items. The count
    /// is checked before anything is allocated.
    template <class C>
    E& operator&(const Array<C>& array)
    {
        return element(array.name, [&] {
            auto count = static_cast<std::int32_t>(array.elements.size());
            *this& field("Size", count);
            if constexpr (!E::isEncoder()) {
                if (count < array.minCount || count > array.maxCount) {
                    throwInvalidCount(array.name, count, array.minCount, array.maxCount);
                }
                makeRoom(array.name, array.elements, count);
            }
            serializeArray(array.elements.data(), static_cast<std::size_t>(count));
        });
    }

    /// The implementation's name. An absent implementation is written as the factory's first one,
    /// which is what the factory would create for it.
    template <class T, class P>
    E& operator&(const Choice<T, P>& choice)
    {
        return element(choice.name, [&] {
            if constexpr (E::isEncoder()) {
                const auto* const chosen = choice.implementation != nullptr
                                               ? choice.implementation
                                               : choice.factory.defaultImplementation();
                const std::string name = chosen != nullptr ? chosen->name() : std::string();
                coder().serializeText(name, MAX_NAME);
            } else {
                std::string name;
                coder().serializeText(name, MAX_NAME);
                choice.implementation = known(choice, name);
            }
        });
    }

    /// A block of bytes whose size both sides know: no count in front in binary.
    template <class B, std::size_t N>
    E& bytes(const char* name, std::span<B, N> block)
    {
        static_assert(sizeof(B) == 1);
        return element(name, [&] { serializeArray(block.data(), block.size()); });
    }

    /// Refuses a decoded count outside 0 ... maxCount; nothing to do while encoding.
    void checkCount(const char* name, std::int64_t count, std::int64_t maxCount) const
    {
        if constexpr (!E::isEncoder()) {
            if (count < 0 || count > maxCount) {
                throwInvalidCount(name, count, 0, maxCount);
            }
        }
    }

    /// Items without a count: elements "e" in XML, one behind the other in binary.
    template <class T>
    void serializeArray(T* items, std::size_t count)
    {
        if constexpr (requires { coder().serializeBlock(items, count); }) {
            coder().serializeBlock(items, count);
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                *this& field("e", items[i]);
            }
        }
    }

protected:
    Serializer() = default;
    ~Serializer() = default;
    Serializer(const Serializer&) = default;
    Serializer& operator=(const Serializer&) = default;

private:
    static constexpr std::size_t MAX_NAME = 255;

    [[nodiscard]] E& coder() { return static_cast<E&>(*this); }

    template <class Content>
    E& element(const char* name, Content content)
    {
        coder().beginElement(name);
        content();
        coder().endElement();
        return coder();
    }

    template <class T>
    void value(T& v)
    {
        using Plain = std::remove_const_t<T>;
        if constexpr (std::is_enum_v<Plain>) {
            auto number = static_cast<std::underlying_type_t<Plain>>(v);
            coder().serialize(number);
            if constexpr (!E::isEncoder()) {
                v = static_cast<Plain>(number);
            }
        } else if constexpr (std::same_as<Plain, std::string>) {
            coder().serializeText(v, DEFAULT_MAX_TEXT);
        } else if constexpr (requires { Plain::serialize(coder(), v); }) {
            Plain::serialize(coder(), v);
        } else if constexpr (requires { Plain::Part::FRACTION; }) {
            *this& field("x", v.re) & field("y", v.im);
        } else {
            coder().serialize(v);
        }
    }

    template <class C>
    static void makeRoom(const char* name, C& elements, std::int32_t count)
    {
        if constexpr (requires { elements.resize(1U); }) {
            elements.clear();
            elements.resize(static_cast<std::size_t>(count));
        } else if (static_cast<std::size_t>(count) != elements.size()) {
            const auto size = static_cast<std::int64_t>(elements.size());
            throwInvalidCount(name, count, size, size);
        }
    }

    template <class T, class P>
    static P known(const Choice<T, P>& choice, const std::string& name)
    {
        if (const auto* const found = choice.factory.find(name)) {
            return found;
        }
        std::string message = std::string("Unknown implementation in <") + choice.name + ">: '" +
                              printable(name) + "'. Known:";
        const char* separator = " '";
        for (const auto& implementation : choice.factory.implementations()) {
            message += separator + implementation->name() + "'";
            separator = ", '";
        }
        throw SerializationException(message + ".");
    }
};

/// Numbers whose memory is their wire form on a little-endian machine: runs of them travel as one
/// block. A bool is not among them, since a foreign byte need not be 0 or 1.
template <class T>
inline constexpr bool IS_BLOCK_VALUE =
    (std::is_integral_v<T> && !std::is_same_v<T, bool>) || std::is_same_v<T, std::byte>;
template <int W, int F>
inline constexpr bool IS_BLOCK_VALUE<fp<W, F>> = sizeof(fp<W, F>) == W / 8;
template <int W, int F>
inline constexpr bool IS_BLOCK_VALUE<Complex<W, F>> = sizeof(Complex<W, F>) == W / 4;

template <class T>
concept BlockValue = IS_BLOCK_VALUE<T> && std::is_trivially_copyable_v<T>;

} // namespace tarvik::io::serialization
