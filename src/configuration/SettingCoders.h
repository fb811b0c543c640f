#pragma once

#include "configuration/SettingNames.h"
#include "io/serialization/NumberText.h"
#include "io/serialization/Serializer.h"

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// Two more coders behind the serialize operations, besides XML and binary.
namespace tarvik::configuration {

/// The dotted name of the element that a coder has entered.
class NameStack
{
public:
    void enter(const char* name)
    {
        _lengths.push_back(_name.size());
        _name += (_name.empty() ? "" : ".") + std::string(name);
    }

    void leave()
    {
        _name.resize(_lengths.back());
        _lengths.pop_back();
    }

    [[nodiscard]] const std::string& name() const { return _name; }

private:
    std::string _name;
    std::vector<std::size_t> _lengths;
};

/// Lists every value with its name.
class SettingLister : public io::serialization::Serializer<SettingLister>
{
public:
    [[nodiscard]] static constexpr bool isEncoder() { return true; }

    void beginElement(const char* name) { _names.enter(name); }

    void endElement() { _names.leave(); }

    template <std::integral T>
    void serialize(T value)
    {
        using Limits = std::numeric_limits<T>;
        add(std::to_string(value), Setting::Kind::Whole, static_cast<double>(Limits::min()),
            static_cast<double>(Limits::max()));
    }

    void serialize(bool value) { add(value ? "true" : "false", Setting::Kind::YesNo, 0, 1); }

    /// The fewest decimals that lead back to the same value.
    template <int W, int F>
    void serialize(fp<W, F> value)
    {
        constexpr double SCALE = static_cast<double>(std::int64_t{1} << F);
        std::array<char, 48> text{};
        std::to_chars_result end{};
        double reread = 0;
        int decimals = 1;
        do {
            end = std::to_chars(text.data(), text.data() + text.size(), value.toDouble(),
                                std::chars_format::fixed, decimals++);
            std::from_chars(text.data(), end.ptr, reread);
        } while (std::round(reread * SCALE) != static_cast<double>(value.raw()));
        using Limits = std::numeric_limits<typename fp<W, F>::Raw>;
        add(std::string(text.data(), end.ptr), Setting::Kind::Real, Limits::min() / SCALE,
            Limits::max() / SCALE);
    }

    void serializeText(const std::string& text, std::size_t /*maxLength*/)
    {
        add(text, Setting::Kind::Text, 0, 0);
    }

    [[nodiscard]] std::vector<Setting> take() { return std::move(_settings); }

private:
    void add(std::string text, Setting::Kind kind, double least, double most)
    {
        _settings.push_back({_names.name(), std::move(text), {}, kind, least, most});
    }

    NameStack _names;
    std::vector<Setting> _settings;
};

/// Changes one value and leaves the others as they are.
class SettingChanger : public io::serialization::Serializer<SettingChanger>
{
public:
    /// `all` is what SettingLister says of the same object.
    SettingChanger(const std::vector<Setting>& all, std::string name, std::string text)
        : _all(all),
          _name(std::move(name)),
          _text(std::move(text))
    {}

    [[nodiscard]] static constexpr bool isEncoder() { return false; }

    void beginElement(const char* name) { _names.enter(name); }

    void endElement() { _names.leave(); }

    template <std::integral T>
    void serialize(T& value)
    {
        using Limits = std::numeric_limits<T>;
        if (meant() && !io::serialization::numbertext::parse(_text, value)) {
            refuse("a whole number from " + std::to_string(Limits::min()) + " to " +
                   std::to_string(Limits::max()));
        }
    }

    void serialize(bool& value)
    {
        if (!meant()) {
            return;
        }
        const bool yes = _text == "true" || _text == "1" || _text == "on" || _text == "yes";
        const bool no = _text == "false" || _text == "0" || _text == "off" || _text == "no";
        if (!yes && !no) {
            refuse("true or false");
        }
        value = yes;
    }

    /// To the nearest value of the format.
    template <int W, int F>
    void serialize(fp<W, F>& value)
    {
        if (!meant()) {
            return;
        }
        using Raw = typename fp<W, F>::Raw;
        constexpr double SCALE = static_cast<double>(std::int64_t{1} << F);
        double number = 0;
        const char* const end = _text.data() + _text.size();
        const auto [stop, error] = std::from_chars(_text.data(), end, number);
        const double raw = std::round(number * SCALE);
        const bool good = error == std::errc() && stop == end &&
                          raw >= static_cast<double>(std::numeric_limits<Raw>::min()) &&
                          raw <= static_cast<double>(std::numeric_limits<Raw>::max());
        if (!good) {
            refuse("a number from " + std::to_string(std::numeric_limits<Raw>::min() / SCALE) +
                   " to " + std::to_string(std::numeric_limits<Raw>::max() / SCALE));
        }
        value = fp<W, F>(static_cast<Raw>(raw));
    }

    /// A text is always read, since some stand for something that must be looked up.
    void serializeText(std::string& text, std::size_t maxLength)
    {
        const std::string current = _all.at(_next).text;
        text = meant() ? _text : current;
        if (text.size() > maxLength) {
            refuse("a text of at most " + std::to_string(maxLength) + " bytes");
        }
    }

private:
    [[nodiscard]] bool meant()
    {
        ++_next;
        return _names.name() == _name;
    }

    [[noreturn]] void refuse(const std::string& wanted) const
    {
        throw SettingException("'" + _text + "' is no value for " + _name + ": it takes " + wanted +
                               ".");
    }

    const std::vector<Setting>& _all;
    std::string _name;
    std::string _text;
    NameStack _names;
    std::size_t _next = 0; ///< of all, the value that comes next
};

} // namespace tarvik::configuration
