#pragma once

#include "Brevio/Notes/Note.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

/// What the benchmarks have in common: a stopwatch, the order of a series, a list of notes, and
/// one line of the table that scripts/bench prints.
namespace Measure {

class Stopwatch final
{
public:
    [[nodiscard]] double milliseconds() const
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - m_start)
            .count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// The value that `share` of the series does not exceed; 0.5 is the median. Not of an empty series.
[[nodiscard]] inline double quantile(std::vector<double> values, double share)
{
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1) + 0.5)];
}

[[nodiscard]] inline double median(std::vector<double> values)
{
    return quantile(std::move(values), 0.5);
}

/// One line of the table.
struct Row
{
    std::string what{};
    double value = 0.0;
    const char *unit = "ms";
    double limit = 0.0;      ///< of the value; 0 for none
    double reference = 0.0;  ///< what the value is compared with, in the same unit; 0 for nothing
    double ratioLimit = 0.0; ///< of value to reference; 0 for none
};

inline void print(const Row &row)
{
    const double ratio = row.reference > 0.0 ? row.value / row.reference : 0.0;
    const bool isOver = (row.limit > 0.0 && row.value > row.limit) ||
                        (row.ratioLimit > 0.0 && ratio > row.ratioLimit);
    const auto text = [](const char *format, double number, const char *unit = "") {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, format, number, unit);
        return number > 0.0 ? std::string(buffer) : std::string();
    };
    const std::string limit = text("%.3g %s", row.limit, row.unit);
    const std::string ratioLimit = text("%gx", row.ratioLimit);
    const bool hasBudget = !limit.empty() || !ratioLimit.empty();
    std::printf("%-52s %10.2f %-2s %7s %18s %s\n", row.what.c_str(), row.value, row.unit,
                text("%.2fx", ratio).c_str(),
                (limit + (limit.empty() || ratioLimit.empty() ? "" : ", ") + ratioLimit).c_str(),
                hasBudget ? (isOver ? "OVER" : "ok") : "");
    std::fflush(stdout);
}

/// Notes of one to eight lines, the newest first, one in five pinned.
[[nodiscard]] inline Brevio::NoteList notes(int count)
{
    const QString body = QStringLiteral("Call the bank\nask about the card – 5/12, \"blue\" one. ");
    const auto now = std::chrono::floor<std::chrono::seconds>(Platform::Clock::system().now());
    Brevio::NoteList list;
    for (int i = 0; i < count; ++i) {
        list.push_back(
            Brevio::Note::create(now - std::chrono::seconds(i), body.repeated(1 + i % 8)));
        list.back().isPinned = i % 5 == 0;
    }
    return list;
}

} // namespace Measure
