// How long does scaling a frame take, and how exact is it, against the public scalers?
#include <fmt/format.h>

#include <cmath>
#include <optional>

#include "program.h"
#include "scalers.h"
#include "scaling_case.h"

namespace qor::bench {

namespace {

struct Case {
    Size from;
    Size to;
    double bar;  // time against the fastest public scaler, frames warm
};

constexpr Case kCases[] = {
    {{1920, 1080}, {1280, 720}, 0.58},  {{1920, 1080}, {960, 540}, 0.92},
    {{1920, 1080}, {1918, 1078}, 0.62}, {{3840, 2160}, {1920, 1080}, 0.92},
    {{3840, 2160}, {1280, 720}, 0.97},  {{2880, 1800}, {1440, 900}, 0.92},
    {{1280, 720}, {1920, 1080}, 0.65},  {{1920, 1080}, {160, 90}, 1.00},
};
constexpr double kMeanBar = 0.80;  // geometric, over all cases
constexpr double kColdBar = 1.00;
constexpr double kDeviationBar = 1.0;
constexpr double kMeanDeviationBar = 0.26;

constexpr int kRounds = 200;

struct Finding {
    std::string name;
    double bar;
    CaseResult result;
};

std::string noteOn(const Entry& entry, const CaseResult& result) {
    if (entry.ours) {
        return &entry == &result.chosen() ? "used here" : "";
    }
    if (entry.kind == Kind::NotBilinear) {
        return "not bilinear";
    }
    std::string note = &entry == &result.fastestRival(&Entry::warm) ? "fastest public" : "";
    if (entry.kind == Kind::BilinearElsewhere) {
        note += note.empty() ? "corner to corner" : ", corner to corner";
    }
    return note;
}

std::vector<std::string> timingColumns(const Entry& entry, const CaseResult& result,
                                       Frames frames) {
    const Timing& timing = entry.*frames;
    const auto against = [&](const Entry& other) {
        return shownRatio(timing.median / (other.*frames).median);
    };
    return {fmt::format("{:.3f}", timing.median), fmt::format("{:.0f} %", timing.spread * 100),
            against(result.fastestRival(frames)), against(result.floor)};
}

void append(std::vector<std::string>& row, const std::vector<std::string>& columns) {
    row.insert(row.end(), columns.begin(), columns.end());
}

std::vector<std::string> timedRow(const Entry& entry, const CaseResult& result) {
    std::vector<std::string> row{entry.scaler};
    append(row, timingColumns(entry, result, &Entry::warm));
    append(row, timingColumns(entry, result, &Entry::cold));
    return row;
}

void printCase(Report& report, const Finding& finding) {
    std::vector<std::vector<std::string>> rows{{"", "warm ms", "spread", "x public", "x floor",
                                                "cold ms", "spread", "x public", "x floor",
                                                "error max", "mean", "rounded", ""}};
    for (const Entry& entry : finding.result.entries) {
        rows.push_back(timedRow(entry, finding.result));
        append(rows.back(),
               {fmt::format("{:.2f}", entry.deviation.largest),
                fmt::format("{:.3f}", entry.deviation.mean),
                fmt::format("{}", entry.deviation.fromRounded), noteOn(entry, finding.result)});
    }
    rows.push_back(timedRow(finding.result.floor, finding.result));
    append(rows.back(), {"", "", "", ""});
    report.line("\n" + finding.name);
    report.table(rows, 1);
}

nlohmann::ordered_json asJson(const Timing& timing) {
    return {{"median ms", rounded(timing.median)}, {"spread", rounded(timing.spread)}};
}

nlohmann::ordered_json asJson(const Entry& entry, const CaseResult& result) {
    return {{"scaler", entry.scaler},
            {"note", noteOn(entry, result)},
            {"warm", asJson(entry.warm)},
            {"cold", asJson(entry.cold)},
            {"error max", rounded(entry.deviation.largest)},
            {"error mean", rounded(entry.deviation.mean)},
            {"error max from rounded", entry.deviation.fromRounded}};
}

void keepCase(Report& report, const Finding& finding) {
    const CaseResult& result = finding.result;
    nlohmann::ordered_json scalers = nlohmann::ordered_json::array();
    for (const Entry& entry : result.entries) {
        scalers.push_back(asJson(entry, result));
    }
    report.results()["cases"].push_back(
        {{"case", finding.name},
         {"warm ratio", rounded(result.ratio(&Entry::warm))},
         {"warm bar", finding.bar},
         {"cold ratio", rounded(result.ratio(&Entry::cold))},
         {"cold bar", kColdBar},
         {"floor", {{"warm", asJson(result.floor.warm)}, {"cold", asJson(result.floor.cold)}}},
         {"scalers", scalers}});
}

std::vector<std::string> summaryRow(const Finding& finding) {
    const CaseResult& result = finding.result;
    const Deviation& deviation = result.chosen().deviation;
    const double warm = result.ratio(&Entry::warm);
    const double cold = result.ratio(&Entry::cold);
    const bool exact = deviation.largest <= kDeviationBar && deviation.mean <= kMeanDeviationBar;
    return {finding.name,
            result.fastestRival(&Entry::warm).scaler,
            shownRatio(warm),
            shownBar(finding.bar),
            verdict(warm, finding.bar),
            shownRatio(cold),
            shownBar(kColdBar),
            verdict(cold, kColdBar),
            fmt::format("{:.2f}", deviation.largest),
            fmt::format("{:.3f}", deviation.mean),
            exact ? "met" : "MISSED"};
}

double geometricMean(const std::vector<Finding>& findings, Frames frames) {
    double logarithms = 0.0;
    for (const Finding& finding : findings) {
        logarithms += std::log(finding.result.ratio(frames));
    }
    return std::exp(logarithms / static_cast<double>(findings.size()));
}

void summarise(Report& report, const std::vector<Finding>& findings) {
    std::vector<std::vector<std::string>> rows{{"case", "fastest public, warm", "warm", "bar", "",
                                                "cold", "bar", "", "error max", "mean", ""}};
    for (const Finding& finding : findings) {
        rows.push_back(summaryRow(finding));
    }
    if (findings.size() == std::size(kCases)) {
        const double warm = geometricMean(findings, &Entry::warm);
        const double cold = geometricMean(findings, &Entry::cold);
        rows.push_back({"geometric mean", "", shownRatio(warm), shownBar(kMeanBar),
                        verdict(warm, kMeanBar), shownRatio(cold), "", "", "", "", ""});
        report.results()["geometric mean"] = {
            {"warm", rounded(warm)}, {"warm bar", kMeanBar}, {"cold", rounded(cold)}};
    }
    report.line(
        fmt::format("\n'{}' against the fastest public bilinear scaler; bars: error max "
                    "{}, mean {}",
                    chosenScaler(), kDeviationBar, kMeanDeviationBar));
    report.table(rows, 2);
}

void measure(const Options& options, Report& report) {
    for (const auto& [library, version] : publicScalerVersions()) {
        report.describe(library, version);
    }
    std::vector<Finding> findings;
    for (const Case& plan : kCases) {
        const std::string name = fmt::format("{} to {}", nameOf(plan.from), nameOf(plan.to));
        if (options.wants(name)) {
            findings.push_back(
                {name, plan.bar, measureScaling(plan.from, plan.to, options.rounds)});
            printCase(report, findings.back());
            keepCase(report, findings.back());
        }
    }
    if (!findings.empty()) {
        summarise(report, findings);
    }
}

}  // namespace

}  // namespace qor::bench

int main(int argc, char** argv) {
    using namespace qor::bench;
    return runProgram(
        {"scaling", "Times and judges scalers of 4-byte pixels, one thread each", kRounds, measure},
        argc, argv);
}
