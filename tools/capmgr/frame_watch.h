/*
 * Tells the reading thread of every frame that the capture thread delivers.
 *
 * The interface counts no frames: a reader that locks the buffer again and again cannot tell a new
 * frame from the one that it has seen, and comparing or hashing the pixels misses a frame that
 * looks like the one before. The trace does say it: at level 2 the capture thread reports when it
 * begins a grab and when that frame is in the buffer. So while a watch lives, the facility runs at
 * level 2 at least, and the watch reads along.
 *
 * The capture thread writes, one other thread waits. One watch at a time.
 */
#ifndef CAPMGR_FRAME_WATCH_H
#define CAPMGR_FRAME_WATCH_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string_view>

#include "trace_output.h"

using Clock = std::chrono::steady_clock;

/* Why frames do not come. */
enum class GrabFault {
    None,
    NoImage,      // the display gave no image: what is delivered is a black stand-in
    SizeChanged,  // the display has another size than at the start
    NoStart,      // the first image could not be taken; the capture has ended
    GaveUp,       // failed for too long; the capture has ended
};

struct FrameNews {
    unsigned int frames = 0;            // delivered since the last wait; stand-ins do not count
    Clock::time_point grabBegan;        // when the grab of the newest of them began
    GrabFault fault = GrabFault::None;  // of the newest grab
    unsigned int standIns = 0;          // black ones since the last wait
};

class FrameWatch {
  public:
    /* onNews, if any, is called on the capture thread whenever wait would return: for a reader that
     * waits for other things as well. It must be quick and must not throw. */
    explicit FrameWatch(const TraceOutput& output, std::function<void()> onNews = {});
    ~FrameWatch();
    FrameWatch(const FrameWatch&) = delete;
    FrameWatch& operator=(const FrameWatch&) = delete;

    /* Waits for a frame or a fault until the deadline; no frame and no fault when it passed. */
    FrameNews wait(Clock::time_point deadline);

    /* True when a grab had a fault since the last wait. That is known before its stand-in takes the
     * newest frame's place, so what was read while this is false is no stand-in. */
    bool faultSinceWait();

  private:
    static void follow(void* context, int level, const char* text, int flag);
    bool note(std::string_view text);
    bool noteDelivery();

    const TraceOutput& output_;
    const std::function<void()> onNews_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    Clock::time_point grabBegan_;
    GrabFault grabFault_ = GrabFault::None;  // of the grab that is under way
    FrameNews news_;
    bool faultSinceWait_ = false;
};

#endif
