#pragma once

#include <cstddef>
#include <string>

/// What a program shows to people rather than to other programs.
namespace tarvik::lab {

[[nodiscard]] bool isTerminal(int descriptor);

/// Columns of the terminal at standard output; 80 when unknown.
[[nodiscard]] int terminalWidth();

/// How far a long work is, on standard error; silent when that is no terminal.
class ProgressBar
{
public:
    explicit ProgressBar(std::size_t total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void show(std::size_t done, const std::string& what);

private:
    std::size_t _total;
    bool _visible;
};

/// A page that is drawn over and over on the terminal's other screen. What was there before comes
/// back with the end of the object.
class Page
{
public:
    Page();
    ~Page();
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    /// Replaces what is shown, in one write and without clearing it first, so nothing flickers.
    void show(const std::string& lines);
};

} // namespace tarvik::lab
