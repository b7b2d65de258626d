/* What the viewer tells of its capture, to people and to programs. */
#ifndef CAPMGR_VIEWER_STATUS_H
#define CAPMGR_VIEWER_STATUS_H

#include <cstdint>
#include <deque>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CaptureManager.h"
#include "capture_session.h"
#include "frame_watch.h"

/* Frames a second over the last two seconds. */
class RateMeter {
  public:
    /* Begins to count anew. */
    void reset(Clock::time_point now);
    void add(unsigned int frames, Clock::time_point now);
    double rate(Clock::time_point now);

  private:
    std::deque<std::pair<Clock::time_point, unsigned int>> frames_;
    Clock::time_point since_;
};

struct ViewerStatus {
    CAP_MONITOR_INFO monitor{};
    CaptureSettings settings;
    std::optional<std::uint32_t> ownWindow;  // if it can be told
    bool isPaused = false;
    bool isFullscreen = false;
    bool showsTexts = true;
    bool choosesWindows = false;
    CAP_SIZE shown{};    // size of the picture in the window; 0 x 0 while there is none
    std::string notice;  // empty: all is well
};

/* The text for people; `leftOut` are the names of the windows that are left out. */
std::string statusText(const ViewerStatus& status, double rate, Clock::duration latency,
                       const std::vector<std::string>& leftOut);

/* What does not change by itself from frame to frame. */
nlohmann::ordered_json statusDocument(const ViewerStatus& status);

#endif
