#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

namespace tarvik::lab {

bool isTerminal(int descriptor)
{
    return ::isatty(descriptor) == 1;
}

int terminalWidth()
{
    constexpr int UNKNOWN = 80;
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : UNKNOWN;
}

ProgressBar::ProgressBar(std::size_t total)
    : _total(total),
      // With results on the same terminal the lines themselves show the progress.
      _visible(total > 3 && isTerminal(STDERR_FILENO) && !isTerminal(STDOUT_FILENO))
{}

ProgressBar::~ProgressBar()
{
    if (_visible) {
        std::cerr << "\r\x1b[K" << std::flush;
    }
}

void ProgressBar::show(std::size_t done, const std::string& what)
{
    if (!_visible) {
        return;
    }
    constexpr std::size_t CELLS = 30;
    const std::size_t full = done * CELLS / _total;
    std::string bar;
    for (std::size_t i = 0; i < CELLS; ++i) {
        bar += i < full ? "█" : "░";
    }
    std::cerr << '\r' << bar << ' ' << done << '/' << _total << ' ' << what << "\x1b[K"
              << std::flush;
}

Page::Page()
{
    std::cout << "\x1b[?1049h\x1b[?25l" << std::flush; // other screen, no cursor
}

Page::~Page()
{
    std::cout << "\x1b[?25h\x1b[?1049l" << std::flush;
}

void Page::show(const std::string& lines)
{
    std::string page = "\x1b[H";
    for (const char c : lines) {
        page += c == '\n' ? std::string("\x1b[K\r\n") : std::string(1, c);
    }
    std::cout << page << "\x1b[J" << std::flush;
}

} // namespace tarvik::lab
