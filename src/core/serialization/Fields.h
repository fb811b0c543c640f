#pragma once

#include "core/util/Factory.h"

#include <cstddef>
#include <string>

/// The small wrapper types by which an object names its fields to a coder.
///
/// Every stored or transmitted object has one static template
///
///     template <class S, class Self>
///     static void serialize(S& s, Self& self)
///     {
///         s & field("Port", self.port) & field("Timeout", self.timeout);
///     }
///
/// that serves the XML and the binary coders in both directions (io/serialization/Serializer.h);
/// Self is const while encoding. S::isEncoder() tells the few that must know. Names matter to XML
/// only; the order matters to both. Decoders throw SerializationException, which leaves the object
/// partly filled: callers decode into a staging copy.
namespace tarvik::io::serialization {

/// One value: a number, a bool, an enumeration, fp, Complex, std::string, or an object with a
/// serialize template of its own.
template <class T>
struct Field
{
    const char* name;
    T& value;
};

template <class T>
[[nodiscard]] Field<T> field(const char* name, T& value)
{
    return {name, value};
}

/// A text whose decoded length may not exceed maxLength bytes.
template <class S>
struct Text
{
    const char* name;
    S& text;
    std::size_t maxLength;
};

template <class S>
[[nodiscard]] Text<S> text(const char* name, S& value, std::size_t maxLength)
{
    return {name, value, maxLength};
}

/// A counted sequence. Encoding reads any range with size(); decoding resizes a vector after the
/// count has been found to lie in [minCount, maxCount].
template <class C>
struct Array
{
    const char* name;
    C& elements;
    int minCount;
    int maxCount;
};

template <class C>
[[nodiscard]] Array<C> array(const char* name, C& elements, int minCount, int maxCount)
{
    return {name, elements, minCount, maxCount};
}

/// A reference to one of a factory's implementations, stored as its name. Decoding an unknown name
/// is an error that lists the known ones.
template <class T, class P>
struct Choice
{
    const char* name;
    const util::Factory<T>& factory;
    P& implementation;
};

template <class T, class P>
[[nodiscard]] Choice<T, P> choice(const char* name, const util::Factory<T>& factory,
                                  P& implementation)
{
    return {name, factory, implementation};
}

} // namespace tarvik::io::serialization
