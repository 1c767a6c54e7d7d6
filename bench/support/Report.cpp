#include "support/Report.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace halvenor::bench {

namespace {

std::string text(std::optional<double> value, const std::string& unit = {}) {
    if (!value) {
        return "-";
    }
    char digits[64];
    std::snprintf(digits, sizeof digits, *value < 100 ? "%.2f" : "%.0f", *value);
    return unit.empty() ? digits : digits + (' ' + unit);
}

}  // namespace

double Row::judged() const {
    return ratio ? *ratio : baseline ? ours / *baseline : ours;
}

bool report(const Row& row) {
    const char* const name = std::getenv("HALVENOR_BENCH_ROWS");
    if (name != nullptr) {
        const bool isRatio = row.ratio || row.baseline;
        std::ofstream(name, std::ios::app)
            << "row\t" << row.work << '\t' << text(row.ours, row.unit) << '\t'
            << text(row.baseline, row.unit) << '\t'
            << (isRatio ? text(row.judged()) : std::string("-")) << '\t'
            << text(row.bound, isRatio ? std::string() : row.unit) << '\t'
            << (!row.bound    ? "-"
                : row.isMet() ? "met"
                              : "missed")
            << '\n';
    }
    return row.isMet();
}

}  // namespace halvenor::bench
