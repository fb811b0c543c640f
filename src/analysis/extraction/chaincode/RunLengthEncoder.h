#pragma once

#include <cstdint>

namespace tarvik::analysis::extraction::chaincode {

/// Folds equal codes of a chain into runs and hands each run to a builder.
template <class Builder>
class RunLengthEncoder
{
public:
    explicit RunLengthEncoder(Builder& builder) : _builder(builder) {}

    void add(std::uint8_t code)
    {
        if (code == _code) {
            ++_length;
            return;
        }
        if (_code != NONE) {
            _builder.add(_code, _length);
        }
        _code = code;
        _length = 1;
    }

    /// Hands over the last run; of an isolated pixel one without direction and length.
    void finish() { _builder.add(_code, _length); }

private:
    static constexpr std::uint8_t NONE = 255;

    Builder& _builder;
    std::uint8_t _code = NONE;
    std::uint16_t _length = 0;
};

} // namespace tarvik::analysis::extraction::chaincode
