#include "record_progress.h"

#include <fmt/format.h>

#include "process_usage.h"
#include "record_summary.h"

RecordProgress::RecordProgress(Console& console, std::optional<double> seconds,
                               const Recorder& recorder)
    : progress_(console, seconds),
      recorder_(recorder),
      usedAt_(Clock::now()),
      used_(processorTime()) {}

void RecordProgress::update(Clock::duration elapsed, Clock::time_point now) {
    if (now < due()) {
        return;
    }
    progress_.show(elapsed, now,
                   fmt::format("{} frames, {}, {} dropped, {:.0f} % processor", recorder_.frames(),
                               bytesText(recorder_.bytes()), recorder_.dropped(), takeUse(now)));
}

double RecordProgress::takeUse(Clock::time_point now) {
    constexpr double kPercent = 100.0;
    const std::chrono::microseconds used = processorTime();
    const std::chrono::duration<double> share = used - used_;
    const std::chrono::duration<double> span = now - usedAt_;
    const double use = share.count() / span.count() * kPercent;
    usedAt_ = now;
    used_ = used;
    return use;
}
