/*
 * How a capture is getting on: a line with a bar that is redrawn in place on a terminal, a plain
 * line about every second elsewhere.
 */
#ifndef CAPMGR_PROGRESS_H
#define CAPMGR_PROGRESS_H

#include <optional>
#include <string>

#include "console.h"
#include "frame_watch.h"

class Progress {
  public:
    /* seconds: the length of the whole; none, and there is no bar, where it is open. The console
     * must outlive this. */
    Progress(Console& console, std::optional<double> seconds);

    /* When show wants to be called next. */
    Clock::time_point due() const { return due_; }

    /* True when a state takes the place of the one before. */
    bool isRedrawn() const { return interactive_; }

    /* Shows the state at `now`, which is so long after the beginning. */
    void show(Clock::duration elapsed, Clock::time_point now, const std::string& state);

    /* Leaves the terminal on a line of its own. */
    void finish();

  private:
    std::string line(double elapsed, const std::string& state) const;

    Console& console_;
    std::optional<double> seconds_;
    bool interactive_;
    Clock::time_point due_;
    bool drawn_ = false;
};

#endif
