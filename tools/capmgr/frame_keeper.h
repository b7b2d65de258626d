/*
 * What a run remembers of its frames: the first, one from the middle, the last, and the times.
 *
 * How many frames there will be is not known beforehand, as Ctrl-C may come at any time. So a copy
 * is kept at every power of two, and of the last two such copies the one nearer to the middle is
 * taken: a handful of copies however long the run, and never off by more than a factor of two.
 */
#ifndef CAPMGR_FRAME_KEEPER_H
#define CAPMGR_FRAME_KEEPER_H

#include <cstdint>
#include <vector>

#include "frame.h"
#include "frame_watch.h"

class FrameKeeper {
  public:
    /* The frame to read the next one into; call add when that is done. */
    Frame& next() { return last_; }

    /* Takes the frame in next() as the newest of those that the news tell of. */
    void add(const FrameNews& news, Clock::time_point readAt);

    std::uint64_t frames() const { return latencies_.size(); }  // read
    std::uint64_t missed() const { return missed_; }            // replaced before they were read

    /* Frames a second between the first and the last; 0 while there are fewer than two. */
    double rate() const;

    /* When the first frame was read; only once there is one. */
    Clock::time_point firstAt() const { return firstAt_; }

    /* Milliseconds from the beginning of the grab to the frame in the host's memory, by frame. */
    const std::vector<double>& latencies() const { return latencies_; }

    /* The frames kept; only once frames() is not 0. */
    const Frame& first() const { return first_; }
    const Frame& middle() const;
    const Frame& last() const { return last_; }

  private:
    Frame first_;
    Frame last_;
    Frame older_;  // of the two newest powers of two, the smaller
    Frame newer_;
    std::uint64_t newerNumber_ = 1;  // counted from 1
    std::uint64_t missed_ = 0;
    std::vector<double> latencies_;
    Clock::time_point firstAt_;
    Clock::time_point lastAt_;
};

#endif
