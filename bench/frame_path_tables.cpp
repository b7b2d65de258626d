#include "frame_path_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace qor::bench {

namespace {

constexpr double kLeastRate = 29.0;
constexpr double kPeriodMs = 1000.0 / kFramesPerSecond;

std::string shownMs(double ms) {
    return fmt::format("{:.3f}", ms);
}

std::string shownRate(double rate) {
    return fmt::format("{:.1f}", rate);
}

const char* nameOf(Taker taker) {
    switch (taker) {
        case Taker::ours:
            return "ours";
        case Taker::ffmpeg:
            return "ffmpeg";
        case Taker::gstreamer:
            return "gstreamer";
        case Taker::nobody:
            break;
    }
    return "nobody";
}

RunPlan takenBy(Taker taker, RunPlan plan) {
    plan.taker = taker;
    return plan;
}

RunPlan sceneAlone(const RunPlan& plan) {
    return {plan.scene, plan.screen, Taker::nobody, plan.screen};
}

nlohmann::ordered_json resultOf(const Usage& usage) {
    return {{"taker CPU seconds", rounded(usage.taker)},
            {"server CPU seconds", rounded(usage.server)},
            {"seconds", rounded(usage.seconds)},
            {"spread", rounded(usage.spread)},
            {"frames", usage.frames},
            {"frames per second", rounded(usage.framesPerSecond)},
            {"longest interval ms", rounded(usage.longestMs)},
            {"late intervals", usage.late},
            {"changes per second", rounded(usage.changesPerSecond)}};
}

nlohmann::ordered_json resultOf(const Cost& cost) {
    return {{"taker ms per frame", rounded(cost.taker)},
            {"server ms per frame", rounded(cost.server)},
            {"together ms per frame", rounded(cost.together())}};
}

// Intervals are judged on screens of at most this width: larger ones take a good part of a period.
constexpr int kJudgedWidth = 1920;

bool isPaceMet(const RunPlan& plan, const Usage& usage) {
    const bool isJudged = plan.screen.width <= kJudgedWidth;
    return usage.framesPerSecond >= kLeastRate && (!isJudged || usage.late == 0);
}

}  // namespace

const Usage& Measurements::usage(const RunPlan& plan) {
    const std::string name = nameOf(plan);
    const auto known = usages_.find(name);
    if (known != usages_.end()) {
        return known->second;
    }
    fmt::print(stderr, "measuring {}\n", name);
    return usages_.emplace(name, measureUsage(plan, turns_)).first->second;
}

Latency Measurements::latency(const RunPlan& plan) {
    fmt::print(stderr, "measuring latency of {}\n", nameOf(plan));
    return measureLatency(plan, turns_);
}

Cost Measurements::cost(const RunPlan& plan) {
    const Usage& alone = usage(sceneAlone(plan));
    const Usage& used = usage(plan);
    const double server = used.server - alone.server / alone.seconds * used.seconds;
    return {used.taker / used.frames * 1000, server / used.frames * 1000};
}

void Measurements::reportTo(Report& report) const {
    for (const auto& [name, usage] : usages_) {
        report.results()["measurements"][name] = resultOf(usage);
    }
}

void PeerTable::add(const std::string& caseName, const RunPlan& ours, double bar,
                    Measurements& measured) {
    double cheapest = 0;
    for (const Taker peer : {Taker::ffmpeg, Taker::gstreamer}) {
        const double cost = measured.cost(takenBy(peer, ours)).together();
        cheapest = cheapest > 0 ? std::min(cheapest, cost) : cost;
    }
    if (rows_.empty()) {
        rows_.push_back({"case", "", "taker", "server", "together", "spread", "rate", "longest",
                         "late", "scene", "ratio", "bar", ""});
    }
    nlohmann::ordered_json entries = nlohmann::ordered_json::object();
    for (const Taker taker : {Taker::ours, Taker::ffmpeg, Taker::gstreamer}) {
        const RunPlan plan = takenBy(taker, ours);
        const Usage& usage = measured.usage(plan);
        const Cost cost = measured.cost(plan);
        const bool isOurs = taker == Taker::ours;
        const double ratio = cost.together() / cheapest;
        rows_.push_back(
            {isOurs ? caseName : "", nameOf(taker), shownMs(cost.taker), shownMs(cost.server),
             shownMs(cost.together()), fmt::format("{:.0f}%", usage.spread * 100),
             shownRate(usage.framesPerSecond), fmt::format("{:.1f}", usage.longestMs),
             fmt::format("{}", usage.late), shownRate(usage.changesPerSecond), shownRatio(ratio),
             isOurs ? shownBar(bar) : "", isOurs ? verdict(ratio, bar) : ""});
        entries[nameOf(taker)] = resultOf(cost);
        entries[nameOf(taker)]["ratio"] = rounded(ratio);
    }
    entries["ours"]["bar"] = bar;
    entries["ours"]["met"] = measured.cost(ours).together() / cheapest <= bar;
    results_[caseName] = entries;
}

void PeerTable::reportTo(Report& report) const {
    if (rows_.empty()) {
        return;
    }
    report.line("");
    report.line(
        "cost of a frame, ms of CPU, server less that of the scene; ratio to the cheapest peer");
    report.table(rows_, 2);
    report.results()["peers"] = results_;
}

RatioTable::RatioTable(std::string title, std::string measured, std::string reference)
    : title_(std::move(title)),
      rows_{{"case", std::move(measured), std::move(reference), "ratio", "bar", ""}} {}

// Differences of costs may come out at nothing, or below: then there is no ratio.
void RatioTable::add(const std::string& caseName, double measuredMs, double referenceMs,
                     double bar) {
    const bool hasRatio = referenceMs > 0;
    const double ratio = measuredMs / referenceMs;
    rows_.push_back({caseName, shownMs(measuredMs), shownMs(referenceMs),
                     hasRatio ? shownRatio(ratio) : "", shownBar(bar),
                     hasRatio ? verdict(ratio, bar) : "no ratio"});
    nlohmann::ordered_json& result = results_[caseName];
    result[rows_.front()[1]] = rounded(measuredMs);
    result[rows_.front()[2]] = rounded(referenceMs);
    result["bar"] = rounded(bar);
    if (hasRatio) {
        result["ratio"] = rounded(ratio);
        result["met"] = ratio <= bar;
    }
}

void RatioTable::reportTo(Report& report) const {
    if (rows_.size() == 1) {
        return;
    }
    report.line("");
    report.line(title_ + ", ms of CPU a frame, client and server together");
    report.table(rows_, 1);
    report.results()[title_] = results_;
}

PaceTable::PaceTable()
    : rows_{{"case", "rate", "longest", "late", "", "latency", "99 %", "grab", "bar", "changes",
             "missed", ""}} {}

void PaceTable::add(const std::string& caseName, const RunPlan& ours, Measurements& measured) {
    const Usage& usage = measured.usage(ours);
    const bool isMet = isPaceMet(ours, usage);
    std::vector<std::string> row{caseName, shownRate(usage.framesPerSecond),
                                 fmt::format("{:.1f}", usage.longestMs),
                                 fmt::format("{}", usage.late), isMet ? "met" : "MISSED"};
    nlohmann::ordered_json& result = results_[caseName];
    result = {{"pace met", isMet}};
    if (ours.shown != Shown::singleWindow) {
        const Latency latency = measured.latency(ours);
        const double bar = kPeriodMs + latency.grabMs;
        row.insert(row.end(),
                   {fmt::format("{:.1f}", latency.medianMs), fmt::format("{:.1f}", latency.worstMs),
                    fmt::format("{:.2f}", latency.grabMs), fmt::format("{:.1f}", bar),
                    fmt::format("{}", latency.changes), fmt::format("{}", latency.missed),
                    verdict(latency.medianMs, bar)});
        result["latency median ms"] = rounded(latency.medianMs);
        result["latency 99 % ms"] = rounded(latency.worstMs);
        result["grab median ms"] = rounded(latency.grabMs);
        result["latency bar ms"] = rounded(bar);
        result["latency met"] = latency.medianMs <= bar;
        result["changes"] = latency.changes;
        result["missed changes"] = latency.missed;
    }
    row.resize(rows_.front().size());
    rows_.push_back(row);
}

void PaceTable::reportTo(Report& report) const {
    if (rows_.size() == 1) {
        return;
    }
    report.line("");
    report.line(
        fmt::format("pace: {} frames a second, no interval over {} ms at 1920x1080; "
                    "latency: median, at most a period and a grab; ms",
                    kLeastRate, kLateMs));
    report.table(rows_, 1);
    report.results()["pace and latency"] = results_;
}

ScaleTable::ScaleTable()
    : rows_{{"screen", "captures", "taker", "server", "together", "ns a pixel", "spread", "rate",
             "longest", "scene"}} {}

void ScaleTable::add(const RunPlan& ours, Measurements& measured) {
    const Usage& usage = measured.usage(ours);
    const Cost cost = measured.cost(ours);
    const std::string screen = qor::bench::nameOf(ours.screen);
    const size_t pixels = ours.screen.bytes() / kBytesPerPixel;
    const double perPixel = cost.together() * 1e6 / static_cast<double>(pixels);
    rows_.push_back({screen, fmt::format("{}", ours.captures), shownMs(cost.taker),
                     shownMs(cost.server), shownMs(cost.together()),
                     fmt::format("{:.3f}", perPixel), fmt::format("{:.0f}%", usage.spread * 100),
                     shownRate(usage.framesPerSecond), fmt::format("{:.1f}", usage.longestMs),
                     shownRate(usage.changesPerSecond)});
    nlohmann::ordered_json& entry =
        results_[fmt::format("{}, captures: {}", screen, ours.captures)];
    entry = resultOf(cost);
    entry["ns per pixel"] = rounded(perPixel);
}

void ScaleTable::reportTo(Report& report) const {
    if (rows_.size() == 1) {
        return;
    }
    report.line("");
    report.line("full motion by captures and screen, ms of CPU a frame of one capture");
    report.table(rows_, 1);
    report.results()["scale"] = results_;
}

}  // namespace qor::bench
