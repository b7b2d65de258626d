/*
 * How long frames took, as many as there may be: counted by tenths of a millisecond, which is as
 * they are shown, so that a day of them takes no more memory than a minute.
 */
#ifndef CAPMGR_LATENCY_COUNTS_H
#define CAPMGR_LATENCY_COUNTS_H

#include <cstdint>
#include <map>
#include <string>

/* Milliseconds; all zero where there was no frame. */
struct LatencySummary {
    double median = 0.0;
    double p99 = 0.0;
    double max = 0.0;
};

class LatencyCounts {
  public:
    void add(double milliseconds);
    LatencySummary summary() const;

  private:
    double percentile(double share) const;

    std::map<std::int64_t, std::uint64_t> counts_;  // frames by tenths of a millisecond
    std::uint64_t total_ = 0;
};

/* "median 1.2 ms, p99 3.4 ms, max 5.6 ms" */
std::string latencyText(const LatencySummary& summary);

#endif
