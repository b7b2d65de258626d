/*
 * When the next picture is due: the frames' times are whole frame durations of running time, on the
 * pipeline's clock.
 *
 * start, setRate and await belong to the streaming thread, or to the time when it does not run; the
 * others may be called by any.
 */
#ifndef QOR_GSTREAMER_FRAME_PACER_H
#define QOR_GSTREAMER_FRAME_PACER_H

#include <gst/gst.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

struct FrameRate {
    int numerator = 0;
    int denominator = 1;
};

struct FrameSlot {
    std::uint64_t number = 0;
    GstClockTime time = 0;  // running time
    GstClockTime duration = 0;
    std::uint64_t missed = 0;  // slots between this one and the one before
};

class FramePacer {
  public:
    /* From any running time on. */
    void start() { last_.reset(); }

    void setRate(FrameRate rate) { rate_ = rate; }
    GstClockTime frameDuration() const { return timeOf(1); }

    /* Waits for the next slot of the element's running time, which is later than the one before; if
     * that has passed by already, the one that lasts now. Empty when interrupted, or when the
     * element has no clock. */
    std::optional<FrameSlot> await(GstElement* element);

    /* Whether slots come at all: not at first. */
    void setPlaying(bool isPlaying);
    bool isPlaying();

    /* Makes await return, until resume. */
    void interrupt();
    void resume();

  private:
    GstClockTime timeOf(std::uint64_t number) const;
    std::uint64_t numberAt(GstClockTime time) const;
    FrameSlot slotAt(GstClockTime now) const;
    bool awaitPlaying();
    bool waitUntil(GstClock* clock, GstClockTime time);
    void breakOff();

    FrameRate rate_;
    std::optional<GstClockTime> last_;  // the time of the last slot
    std::mutex mutex_;                  // over all below
    std::condition_variable changed_;
    GstClockID wait_ = nullptr;
    bool isPlaying_ = false;
    bool isInterrupted_ = false;
};

#endif
