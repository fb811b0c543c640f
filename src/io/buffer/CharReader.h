#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace tarvik::io::buffer {

/// Reads a byte stream S line by line through a buffer of 1024 bytes. A line ends with CR, LF or
/// CR LF, also when the CR ends one packet and the LF begins the next.
///
/// A line of more than 1023 characters is cut there and delivered at once, without waiting for its
/// end; the rest of it is dropped, so however long it is, it is answered once.
template <class S>
class CharReader
{
public:
    static constexpr std::size_t MAX_LINE = 1023;

    explicit CharReader(S& stream) : _stream(stream) {}

    /// The next line without its end. Waits for it; failures are those of the stream's readSome(),
    /// the end of the stream among them (a last line without an end is not delivered).
    [[nodiscard]] std::string readLine()
    {
        for (;;) {
            dropLeftovers();
            const std::string_view content(_buffer.data(), _fill);
            const std::size_t end = content.find_first_of("\r\n");
            if (end != std::string_view::npos) {
                return takeLine(end);
            }
            if (_fill == _buffer.size()) {
                _skipping = true;
                std::string line(content.substr(0, MAX_LINE));
                _fill = 0;
                return line;
            }
            _fill += _stream.readSome(std::as_writable_bytes(std::span(_buffer).subspan(_fill)));
        }
    }

    /// Forgets everything; for the next connection.
    void clear()
    {
        _fill = 0;
        _skipping = false;
        _afterCR = false;
    }

private:
    /// Drops the LF of a CR LF and the rest of a line that has been cut.
    void dropLeftovers()
    {
        if (_afterCR && _fill > 0) {
            _afterCR = false;
            if (_buffer[0] == '\n') {
                drop(1);
            }
        }
        if (!_skipping) {
            return;
        }
        const std::string_view content(_buffer.data(), _fill);
        const std::size_t end = content.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            _fill = 0;
            return;
        }
        _skipping = false;
        takeLine(end);
        dropLeftovers();
    }

    std::string takeLine(std::size_t end)
    {
        std::string line(_buffer.data(), end);
        _afterCR = _buffer[end] == '\r';
        drop(end + 1);
        return line;
    }

    void drop(std::size_t count)
    {
        std::copy(_buffer.begin() + static_cast<std::ptrdiff_t>(count),
                  _buffer.begin() + static_cast<std::ptrdiff_t>(_fill), _buffer.begin());
        _fill -= count;
    }

    S& _stream;
    std::size_t _fill = 0;
    bool _skipping = false; ///< what comes is the rest of a line that has been cut
    bool _afterCR = false;  ///< an LF that comes next belongs to the line before
    std::array<char, MAX_LINE + 1> _buffer{};
};

} // namespace tarvik::io::buffer
