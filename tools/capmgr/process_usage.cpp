#include "process_usage.h"

#include <sys/resource.h>

namespace {

std::chrono::microseconds durationOf(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

std::chrono::microseconds processorTime() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return durationOf(usage.ru_utime) + durationOf(usage.ru_stime);
}
