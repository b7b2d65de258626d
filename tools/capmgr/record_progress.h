/* How a recording is getting on: what is in it, and what it costs. */
#ifndef CAPMGR_RECORD_PROGRESS_H
#define CAPMGR_RECORD_PROGRESS_H

#include <chrono>
#include <optional>
#include <string>

#include "progress.h"
#include "recorder.h"

class RecordProgress {
  public:
    /* Both must outlive this. */
    RecordProgress(Console& console, std::optional<double> seconds, const Recorder& recorder);

    /* When update wants to be called next, at the latest. */
    Clock::time_point due() const { return progress_.due(); }

    /* Shows the state at `now`, so long after the first frame, if it is due. */
    void update(Clock::duration elapsed, Clock::time_point now);

    void finish() { progress_.finish(); }

  private:
    /* Share of one processor that this process took since the last call, in percent. */
    double takeUse(Clock::time_point now);

    Progress progress_;
    const Recorder& recorder_;
    Clock::time_point usedAt_;
    std::chrono::microseconds used_;  // processor time
};

#endif
