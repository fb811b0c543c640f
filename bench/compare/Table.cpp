#include "compare/Table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace tarvik::bench {

namespace {

double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double secondsOf(const std::function<void()>& run, int times)
{
    const double start = processorSeconds();
    for (int i = 0; i < times; ++i) {
        run();
    }
    return processorSeconds() - start;
}

/// Calls in a row that take long enough for the clock, after some to warm up.
int batchOf(const Contestant& contestant)
{
    constexpr double BATCH_SECONDS = 0.4e-3;
    secondsOf(contestant.run, 3);
    const double once = secondsOf(contestant.run, 3) / 3;
    return std::max(1, static_cast<int>(BATCH_SECONDS / once));
}

double quantile(const std::vector<double>& sorted, double q)
{
    return sorted[static_cast<std::size_t>(q * static_cast<double>(sorted.size() - 1))];
}

template <class... Args>
std::string format(const char* pattern, Args... args)
{
    const int size = std::snprintf(nullptr, 0, pattern, args...);
    std::string text(static_cast<std::size_t>(size), '\0');
    std::snprintf(text.data(), text.size() + 1, pattern, args...);
    return text;
}

std::string bar(double y, double fraction, const char* colour, const std::string& label)
{
    constexpr double LEFT = 10;
    constexpr double WIDTH = 480;
    const double width = std::max(1.0, fraction * WIDTH);
    return format("<rect x=\"%g\" y=\"%g\" width=\"%.1f\" height=\"13\" fill=\"%s\"/>\n", LEFT, y,
                  width, colour) +
           format("<text x=\"%.1f\" y=\"%g\">%s</text>\n", LEFT + width + 6, y + 11, label.c_str());
}

} // namespace

const Contestant& Row::fastestOther() const
{
    return *std::min_element(
        contestants.begin() + 1, contestants.end(),
        [](const Contestant& a, const Contestant& b) { return a.microseconds < b.microseconds; });
}

double Row::ratio() const
{
    const double quotient = fastestOther().microseconds / contestants.front().microseconds;
    return better == Better::More ? quotient : 1 / quotient;
}

std::string Row::verdict() const
{
    if (goal == 0) {
        return "";
    }
    const auto reaches = [&](double mark) {
        return better == Better::More ? ratio() >= mark : ratio() <= mark;
    };
    return reaches(goal) ? "goal met" : reaches(least) ? "least met" : "missed";
}

void measure(Row& row)
{
    constexpr int MAX_ROUNDS = 201;
    constexpr double ROW_SECONDS = 0.6;
    std::vector<int> batches;
    std::vector<std::vector<double>> times(row.contestants.size());
    for (const Contestant& contestant : row.contestants) {
        batches.push_back(batchOf(contestant));
    }
    double spent = 0;
    for (int round = 0; round < MAX_ROUNDS && (spent < ROW_SECONDS || round < 15); ++round) {
        for (std::size_t i = 0; i < row.contestants.size(); ++i) {
            const double seconds = secondsOf(row.contestants[i].run, batches[i]);
            times[i].push_back(seconds / batches[i] * 1e6);
            spent += seconds;
        }
    }
    for (std::size_t i = 0; i < row.contestants.size(); ++i) {
        std::sort(times[i].begin(), times[i].end());
        Contestant& contestant = row.contestants[i];
        contestant.microseconds = quantile(times[i], 0.5);
        contestant.spread =
            (quantile(times[i], 0.75) - quantile(times[i], 0.25)) / 2 / contestant.microseconds;
    }
}

std::string markdown(const std::vector<Row>& rows)
{
    std::string text = "| what | ours, us | fastest other, us | ratio | goal | least | |\n"
                       "|---|---|---|---|---|---|---|\n";
    for (const Row& row : rows) {
        const Contestant& own = row.contestants.front();
        const Contestant& other = row.fastestOther();
        text += format("| %s | %.1f ± %.0f %% | %.1f ± %.0f %% (%s) | %.2f | ", row.what.c_str(),
                       own.microseconds, 100 * own.spread, other.microseconds, 100 * other.spread,
                       other.name.c_str(), row.ratio());
        const char* const pattern =
            row.better == Row::Better::More ? "≥ %g | ≥ %g | " : "≤ %g | ≤ %g | ";
        text += row.goal == 0 ? std::string("– | – | ") : format(pattern, row.goal, row.least);
        text += row.verdict() + " |\n";
    }
    return text;
}

std::string svg(const std::vector<Row>& rows)
{
    constexpr double BAR = 16;
    constexpr double GAP = 14;
    std::string bars;
    double y = 40;
    for (const Row& row : rows) {
        double slowest = 0;
        for (const Contestant& c : row.contestants) {
            slowest = std::max(slowest, c.microseconds);
        }
        bars += format("<text x=\"10\" y=\"%g\" font-weight=\"bold\">%s</text>\n", y + 11,
                       row.what.c_str());
        y += BAR;
        for (const Contestant& c : row.contestants) {
            const bool own = &c == &row.contestants.front();
            bars += bar(y, c.microseconds / slowest, own ? "#1f77b4" : "#bbbbbb",
                        format("%s: %.3g µs", c.name.c_str(), c.microseconds));
            y += BAR;
        }
        y += GAP;
    }
    return format("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"720\" height=\"%g\" "
                  "font-family=\"sans-serif\" font-size=\"12\">\n"
                  "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
                  "<text x=\"10\" y=\"22\" font-size=\"15\">Processor time of one thread; in each "
                  "group relative to the slowest</text>\n",
                  y) +
           bars + "</svg>\n";
}

} // namespace tarvik::bench
