#include "stats_report.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "monitors.h"

namespace {

constexpr double kMebibyte = 1024.0 * 1024.0;

double mebibytes(std::uint64_t bytes) {
    return static_cast<double>(bytes) / kMebibyte;
}

std::string clockText(double seconds) {
    const auto whole = static_cast<std::uint64_t>(seconds);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string frameText(const FrameFigures& figures) {
    return fmt::format("{} ({} missed, {} black stand-ins)", figures.frames, figures.missed,
                       figures.standIns);
}

std::string latencyOf(const FrameFigures& figures) {
    return figures.frames == 0 ? "-" : latencyText(figures.latency);
}

std::string sizeOf(const CaptureFigures& figures) {
    return figures.width == 0 ? "-" : sizeText({figures.width, figures.height});
}

nlohmann::ordered_json describe(const FrameFigures& figures) {
    return {{"frames", figures.frames},
            {"missed", figures.missed},
            {"stand_ins", figures.standIns},
            {"frames_per_second", figures.framesPerSecond},
            {"latency_median_ms", figures.latency.median},
            {"latency_p99_ms", figures.latency.p99},
            {"latency_max_ms", figures.latency.max}};
}

}  // namespace

std::vector<TerminalScreen::Line> statsScreen(const CaptureFigures& figures,
                                              const CaptureChoice& choice) {
    const std::string title =
        fmt::format("capmgr: monitor {} ({})", choice.monitor.dwIndex, monitorName(choice.monitor));
    const Style frames = figures.recent.standIns > 0 ? Style::Error : Style::Plain;
    return {
        {title, "", Style::Heading},
        {"", "", Style::Plain},
        {"running      ", clockText(figures.seconds), Style::Plain},
        {"frame size   ", sizeOf(figures), Style::Plain},
        {"rate         ",
         fmt::format("{:.1f} of {} frames/s", figures.recent.framesPerSecond,
                     choice.settings.framesPerSecond),
         Style::Plain},
        {"frames       ", frameText(figures.recent), frames},
        {"latency      ", latencyOf(figures.recent), Style::Plain},
        {"", "", Style::Plain},
        {"since the start", "", Style::Heading},
        {"rate         ", fmt::format("{:.1f} frames/s", figures.all.framesPerSecond),
         Style::Plain},
        {"frames       ", frameText(figures.all), Style::Plain},
        {"latency      ", latencyOf(figures.all), Style::Plain},
        {"", "", Style::Plain},
        {"this program", "", Style::Heading},
        {"processor    ", fmt::format("{:.1f} % of one", figures.processorPercent), Style::Plain},
        {"memory       ", fmt::format("{:.1f} MiB", mebibytes(figures.memory)), Style::Plain},
        {"", "", Style::Plain},
        {"q", " quits", Style::Heading}};
}

std::string statsLine(const CaptureFigures& figures, const CaptureChoice& choice) {
    return fmt::format(
        "{:.0f} s: {:.1f} of {} frames/s, frames {}, latency {}, {}, {:.1f} % processor, {:.1f} "
        "MiB\n",
        figures.seconds, figures.recent.framesPerSecond, choice.settings.framesPerSecond,
        frameText(figures.all), latencyOf(figures.recent), sizeOf(figures),
        figures.processorPercent, mebibytes(figures.memory));
}

nlohmann::ordered_json describeStats(const CaptureFigures& figures, const CaptureChoice& choice) {
    return {{"seconds", figures.seconds},
            {"monitor", choice.monitor.dwIndex},
            {"monitor_name", choice.monitor.cstrName},
            {"width", figures.width},
            {"height", figures.height},
            {"frames_per_second_wanted", choice.settings.framesPerSecond},
            {"recent", describe(figures.recent)},
            {"all", describe(figures.all)},
            {"processor_percent", figures.processorPercent},
            {"memory_bytes", figures.memory}};
}
