/*
 * Frames on their way from the thread that reads them to the one that encodes them.
 *
 * A few at most: frames that nobody takes in time are refused, not piled up. Frames are swapped in
 * and out, so that the memory goes round and none is allocated once all have their size.
 */
#ifndef CAPMGR_FRAME_QUEUE_H
#define CAPMGR_FRAME_QUEUE_H

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "frame.h"
#include "frame_watch.h"

class FrameQueue {
  public:
    /* Puts a frame in and leaves a spent one in its place; false, and frame is left alone, when the
     * queue is full or closed. */
    bool push(Frame& frame, Clock::time_point grabBegan);

    /* Waits for a frame and leaves the given one for use by push; false once the queue is closed
     * and empty. */
    bool pop(Frame& frame, Clock::time_point& grabBegan);

    /* No more frames go in. */
    void close();

  private:
    struct Entry {
        Frame frame;
        Clock::time_point grabBegan;
    };

    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::array<Entry, 4> entries_;
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    bool isClosed_ = false;
};

#endif
