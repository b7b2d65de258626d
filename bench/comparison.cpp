#include "comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace qor::bench {

namespace {

constexpr double kMicroseconds = 1000.0;  // in a millisecond

}  // namespace

Comparison::Comparison(std::string reference)
    : reference_(std::move(reference)),
      rows_{{"case", "contender", "us", "spread", fmt::format("x {}", reference_), "bar", ""}} {}

void Comparison::add(const std::string& caseName, const std::vector<Compared>& entries) {
    const auto reference =
        std::find_if(entries.begin(), entries.end(),
                     [this](const Compared& entry) { return entry.contender == reference_; });
    if (reference == entries.end()) {
        throw std::logic_error(fmt::format("{}: no '{}' to compare with", caseName, reference_));
    }
    for (const Compared& entry : entries) {
        const double ratio = entry.timing.median / reference->timing.median;
        rows_.push_back({&entry == entries.data() ? caseName : "", entry.contender,
                         fmt::format("{:.3f}", entry.timing.median * kMicroseconds),
                         fmt::format("{:.0f} %", entry.timing.spread * 100), shownRatio(ratio),
                         shownBar(entry.bar), verdict(ratio, entry.bar)});
        nlohmann::ordered_json& kept = results_[caseName][entry.contender];
        kept = {{"median ms", rounded(entry.timing.median)},
                {"spread", rounded(entry.timing.spread)},
                {"ratio", rounded(ratio)}};
        if (entry.bar) {
            kept["bar"] = *entry.bar;
        }
    }
}

void Comparison::reportTo(const std::string& title, Report& report) const {
    if (results_.empty()) {
        return;
    }
    report.line("\n" + title);
    report.table(rows_, 2);
    report.results()[title] = {{"reference", reference_}, {"cases", results_}};
}

}  // namespace qor::bench
