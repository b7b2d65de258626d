/*
 * Encodes frames into a recording, on a thread of its own.
 *
 * The time of a frame is when its grab began, counted from the first one.
 */
#ifndef CAPMGR_RECORDER_H
#define CAPMGR_RECORDER_H

#include <atomic>
#include <cstdint>
#include <optional>
#include <thread>

#include "failure.h"
#include "frame_queue.h"
#include "media_file.h"
#include "picture_converter.h"
#include "video_encoder.h"

class Recorder {
  public:
    /* target and interruption must outlive this. Throws Failure. */
    Recorder(const RecordingFormat& format, CAP_SIZE size, unsigned int framesPerSecond,
             RecordingTarget& target, Interruption& interruption);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /* Takes a frame and leaves a spent one in its place. A frame that comes while the encoder is
     * too far behind is dropped. */
    void add(Frame& frame, Clock::time_point grabBegan);

    /* Encodes what was added, shows the last frame until `end` and completes the recording. Throws
     * the Failure that ended it early, if one did. */
    void finish(Clock::time_point end);

    /* True once nothing more can be recorded; finish tells why. */
    bool hasFailed() const { return hasFailed_; }

    std::uint64_t frames() const { return frames_; }    // encoded
    std::uint64_t dropped() const { return dropped_; }  // added and not encoded
    std::int64_t bytes() const { return bytes_; }

  private:
    void work();
    void encodeAll();
    void keepTime(const Frame& frame, Clock::time_point grabBegan);
    void keepPace(const Frame& frame, Clock::time_point grabBegan);
    void repeatHeldUntil(std::int64_t slot);
    void encode(AVFrame* picture);
    std::int64_t ticksAt(Clock::time_point time) const;
    void join();

    const bool hasTimes_;
    FrameQueue queue_;
    PictureConverter converter_;
    VideoEncoder encoder_;
    MediaFile file_;
    Packet packet_;
    Clock::time_point firstGrab_;
    AVFrame* held_ = nullptr;  // of a recording without times: the picture on show, the converter's
    std::int64_t next_ = 0;    // in ticks: the earliest time that is free
    Clock::time_point end_;    // set before the queue is closed
    std::optional<Failure> failure_;  // set before hasFailed_
    std::atomic<bool> hasFailed_{false};
    std::atomic<std::uint64_t> frames_{0};
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<std::int64_t> bytes_{0};
    std::thread worker_;  // last: it uses the others
};

#endif
