/*
 * Pictures of one monitor, or of one window on it, in the size and at the rate agreed on.
 *
 * Not to be used by two threads at once.
 */
#ifndef QOR_GSTREAMER_SCREEN_SOURCE_H
#define QOR_GSTREAMER_SCREEN_SOURCE_H

#include <gst/video/video.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "capture.h"

class ScreenSource {
  public:
    /* Finds the monitor, the primary one where none is named, and gives its size. window 0 shares
     * all of it. Throws Fault. */
    CAP_SIZE open(std::optional<unsigned int> monitor, unsigned int window);

    /* Ends the capture, until the next read. */
    void pause() { capture_.reset(); }

    /* Copies the newest picture; false while there is none. Captures from here on. A picture read
     * with other settings than the one before is of a new capture, so that it shows nothing that
     * these leave out. Throws Fault when there has been none for too long, and when the monitor is
     * not as it was any more. */
    bool read(const std::vector<unsigned int>& excluded, GstVideoFrame& picture);

  private:
    using Clock = std::chrono::steady_clock;

    void startAs(const CaptureSettings& settings);
    void lookAtMonitor();
    void failIfMonitorChanged() const;
    void failIfSilent() const;

    CAP_MONITOR_INFO monitor_ = {};
    std::vector<CGRect> frames_;  // of all monitors
    Clock::time_point lastLook_;
    unsigned int window_ = 0;
    std::optional<unsigned int> index_;  // of the capture manager's, from the first capture on
    std::unique_ptr<Capture> capture_;
    Clock::time_point lastPicture_;  // or the capture's start
};

#endif
