/*
 * How a run is getting on: a bar that is redrawn in place on a terminal, a plain line about every
 * second elsewhere.
 */
#ifndef CAPMGR_PROGRESS_H
#define CAPMGR_PROGRESS_H

#include <cstddef>
#include <string>

#include "console.h"
#include "frame_keeper.h"

class Progress {
  public:
    /* seconds: the length of the whole run. The console must outlive this. */
    Progress(Console& console, double seconds);

    /* When update wants to be called next, at the latest. */
    Clock::time_point due() const { return due_; }

    /* Shows the state at `now` if it is due. */
    void update(const FrameKeeper& frames, Clock::time_point now);

    /* Shows the last state and leaves the terminal on a line of its own. */
    void finish(const FrameKeeper& frames);

  private:
    void draw(const FrameKeeper& frames, Clock::time_point now);
    void takeLatency(const FrameKeeper& frames);
    std::string state(const FrameKeeper& frames) const;
    std::string bar(double elapsed, const std::string& state) const;

    Console& console_;
    double seconds_;
    bool interactive_;
    Clock::time_point due_;
    bool drawn_ = false;
    std::size_t latenciesTaken_ = 0;
    double latency_ = 0.0;  // milliseconds, as shown last
};

#endif
