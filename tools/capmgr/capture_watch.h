/*
 * What happens to the source of a running capture and is not seen in its frames.
 */
#ifndef CAPMGR_CAPTURE_WATCH_H
#define CAPMGR_CAPTURE_WATCH_H

#include <cstdint>
#include <optional>

#include "CaptureManager.h"
#include "frame_watch.h"

/* Notices when a monitor is no longer where its capture goes on reading. */
class MonitorWatch {
  public:
    explicit MonitorWatch(const CAP_MONITOR_INFO& monitor);

    /* Looks now and then; call it when a frame came, for then the display server answers. Throws
     * Failure. */
    void check(Clock::time_point now);

  private:
    CAP_MONITOR_INFO monitor_;
    Clock::time_point due_;
};

/* Tells when the window that is captured alone has gone. One that is minimised has not: it goes on
 * giving its last picture. */
class WindowWatch {
  public:
    /* none: there is no such window, and none goes. */
    explicit WindowWatch(std::optional<std::uint32_t> window) : window_(window) {}

    /* hasNoImage: of the newest grab. Throws Failure when the windows cannot be listed. */
    bool isClosed(bool hasNoImage, Clock::time_point now);

  private:
    bool isOnScreen() const;

    std::optional<std::uint32_t> window_;
    std::optional<Clock::time_point> goneSince_;
};

#endif
