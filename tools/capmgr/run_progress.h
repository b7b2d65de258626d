/* How a run is getting on: its frames and how old they are when they are read. */
#ifndef CAPMGR_RUN_PROGRESS_H
#define CAPMGR_RUN_PROGRESS_H

#include <cstddef>
#include <string>

#include "frame_keeper.h"
#include "progress.h"

class RunProgress {
  public:
    /* seconds: the length of the whole run. The console must outlive this. */
    RunProgress(Console& console, double seconds) : progress_(console, seconds) {}

    /* When update wants to be called next, at the latest. */
    Clock::time_point due() const { return progress_.due(); }

    /* Shows the state at `now` if it is due. */
    void update(const FrameKeeper& frames, Clock::time_point now);

    /* Shows the last state. */
    void finish(const FrameKeeper& frames);

  private:
    void show(const FrameKeeper& frames, Clock::time_point now);
    void takeLatency(const FrameKeeper& frames);

    Progress progress_;
    std::size_t latenciesTaken_ = 0;
    double latency_ = 0.0;  // milliseconds, as shown last
};

#endif
