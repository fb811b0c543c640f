#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tarvik::bench {

/// One way to do a row's work.
struct Contestant
{
    std::string name;
    std::function<void()> run;
    double microseconds = 0; ///< median, once measured
    double spread = 0;       ///< half the distance between the quartiles, relative to the median
};

/// Ours, which comes first, against the fastest of the others.
struct Row
{
    enum class Better
    {
        More, ///< goal and least say how many times faster we are to be
        Less, ///< goal and least say how many times longer we may take
    };

    std::string what;
    std::vector<Contestant> contestants;
    Better better = Better::More;
    double goal = 0; ///< 0: for information
    double least = 0;

    [[nodiscard]] const Contestant& fastestOther() const;
    [[nodiscard]] double ratio() const;
    /// "goal met", "least met", "missed" or nothing.
    [[nodiscard]] std::string verdict() const;
};

/// Measures the contestants of a row by turns, so that whatever else the machine does hits all of
/// them alike; processor time of this thread.
void measure(Row& row);

[[nodiscard]] std::string markdown(const std::vector<Row>& rows);
/// A chart with one bar for each contestant, in every row relative to the slowest.
[[nodiscard]] std::string svg(const std::vector<Row>& rows);

} // namespace tarvik::bench
