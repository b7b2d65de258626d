#include "record_progress.h"

#include <fmt/format.h>
#include <sys/resource.h>

#include "record_summary.h"

namespace {

double secondsIn(const timeval& time) {
    constexpr double kMicroseconds = 1e6;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / kMicroseconds;
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return secondsIn(usage.ru_utime) + secondsIn(usage.ru_stime);
}

}  // namespace

RecordProgress::RecordProgress(Console& console, std::optional<double> seconds,
                               const Recorder& recorder)
    : progress_(console, seconds),
      recorder_(recorder),
      usedAt_(Clock::now()),
      used_(processorSeconds()) {}

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
    const double used = processorSeconds();
    const std::chrono::duration<double> span = now - usedAt_;
    const double use = (used - used_) / span.count() * kPercent;
    usedAt_ = now;
    used_ = used;
    return use;
}
