#include "frame_pacer.h"

#include <algorithm>

#include "owned.h"

// A wait that a pause broke off begins anew: running time has stood still meanwhile.
std::optional<FrameSlot> FramePacer::await(GstElement* element) {
    while (awaitPlaying()) {
        const Owned<GstClock> clock(gst_element_get_clock(element));
        if (clock == nullptr) {
            break;
        }
        const GstClockTime base = gst_element_get_base_time(element);
        const GstClockTime now = std::max(gst_clock_get_time(clock.get()), base);
        const FrameSlot slot = slotAt(now - base);
        if (waitUntil(clock.get(), std::max(base + slot.time, now))) {
            last_ = slot.time;
            return slot;
        }
    }
    return std::nullopt;
}

FrameSlot FramePacer::slotAt(GstClockTime now) const {
    const std::uint64_t current = numberAt(now);
    std::uint64_t following = last_ ? numberAt(*last_) + 1 : current;
    if (following > current + 1) {
        following = current;  // running time has jumped back, as it does at a flush
    }
    const std::uint64_t number = std::max(following, current);
    const GstClockTime time = timeOf(number);
    return {number, time, timeOf(number + 1) - time, number - following};
}

GstClockTime FramePacer::timeOf(std::uint64_t number) const {
    return gst_util_uint64_scale(number, static_cast<std::uint64_t>(rate_.denominator) * GST_SECOND,
                                 static_cast<std::uint64_t>(rate_.numerator));
}

// The slot that lasts at that time. Times of slots are rounded down, hence the one more.
std::uint64_t FramePacer::numberAt(GstClockTime time) const {
    return gst_util_uint64_scale(time + 1, static_cast<std::uint64_t>(rate_.numerator),
                                 static_cast<std::uint64_t>(rate_.denominator) * GST_SECOND);
}

// False when interrupted.
bool FramePacer::awaitPlaying() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isPlaying_ || isInterrupted_; });
    return !isInterrupted_;
}

// False when broken off.
bool FramePacer::waitUntil(GstClock* clock, GstClockTime time) {
    {
        const std::lock_guard lock(mutex_);
        if (isInterrupted_ || !isPlaying_) {
            return false;
        }
        wait_ = gst_clock_new_single_shot_id(clock, time);
    }
    const GstClockReturn result = gst_clock_id_wait(wait_, nullptr);
    const std::lock_guard lock(mutex_);
    gst_clock_id_unref(wait_);
    wait_ = nullptr;
    return result != GST_CLOCK_UNSCHEDULED;
}

void FramePacer::setPlaying(bool isPlaying) {
    const std::lock_guard lock(mutex_);
    isPlaying_ = isPlaying;
    breakOff();
}

bool FramePacer::isPlaying() {
    const std::lock_guard lock(mutex_);
    return isPlaying_;
}

void FramePacer::interrupt() {
    const std::lock_guard lock(mutex_);
    isInterrupted_ = true;
    breakOff();
}

void FramePacer::resume() {
    const std::lock_guard lock(mutex_);
    isInterrupted_ = false;
}

// Has the streaming thread look at what has changed.
void FramePacer::breakOff() {
    if (wait_ != nullptr) {
        gst_clock_id_unschedule(wait_);
    }
    changed_.notify_all();
}
