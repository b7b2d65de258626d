#include "record_summary.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "monitors.h"

namespace {

double rateOf(const RecordSummary& summary) {
    return static_cast<double>(summary.frames) / summary.seconds;
}

std::string row(const char* name, const std::string& value) {
    return fmt::format("{:<10}  {}\n", name, value);
}

}  // namespace

std::string recordSummary(const RecordSummary& summary) {
    std::string text;
    text += row("frames", fmt::format("{} ({} dropped, {} missed)", summary.frames, summary.dropped,
                                      summary.missed));
    text += row("rate", fmt::format("{:.1f} frames/s", rateOf(summary)));
    text += row("duration", fmt::format("{:.1f} s", summary.seconds));
    text += row("size", bytesText(summary.bytes));
    text += row("format", fmt::format("{} in {}, {}", summary.format.codec->name,
                                      summary.format.container->name, sizeText(summary.size)));
    text += row("file", summary.file);
    return text;
}

nlohmann::ordered_json recordSummaryJson(const RecordSummary& summary) {
    return {{"path", summary.file},
            {"format", summary.format.container->name},
            {"codec", summary.format.codec->name},
            {"width", summary.size.dwWidth},
            {"height", summary.size.dwHeight},
            {"frames", summary.frames},
            {"dropped", summary.dropped},
            {"missed", summary.missed},
            {"frames_per_second", rateOf(summary)},
            {"seconds", summary.seconds},
            {"bytes", summary.bytes}};
}

std::string bytesText(std::int64_t bytes) {
    constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB"};
    constexpr double kStep = 1000.0;
    if (bytes < 1000) {
        return fmt::format("{} bytes", bytes);
    }
    double value = static_cast<double>(bytes) / kStep;
    const char* const* unit = kUnits;
    for (; value >= kStep && unit + 1 != std::end(kUnits); ++unit) {
        value /= kStep;
    }
    return fmt::format("{:.1f} {}", value, *unit);
}
