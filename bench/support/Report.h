#pragma once

#include <optional>
#include <string>

namespace halvenor::bench {

/// One line of the table that bench/run prints at its end.
struct Row {
    /// What was done: "listing, 10,000 tracks".
    std::string work;
    /// Of ours and of the baseline: "ms", "MB", ...; empty for bare numbers.
    std::string unit = {};
    double ours = 0;
    /// What the same work costs at the least; absent: the figure stands alone.
    std::optional<double> baseline = {};
    /// Where not ours / baseline: the median of the rounds' ratios, say.
    std::optional<double> ratio = {};
    /// The ratio, or without a baseline the figure, is to be no greater. Absent: it is only told.
    std::optional<double> bound = {};

    /// What the bound is on.
    double judged() const;
    bool isMet() const { return !bound || judged() <= *bound; }
};

/// Adds the row to the file that the variable HALVENOR_BENCH_ROWS names, if it names one: a line of
/// fields with tabs between them, "row", work, ours, baseline, ratio, bound, "met" or "missed".
/// What is absent is "-".
/// @return whether the bound is met
bool report(const Row& row);

}  // namespace halvenor::bench
