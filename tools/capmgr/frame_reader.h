/*
 * Reads every new frame of one capture, which runs for as long as the reader lives.
 */
#ifndef CAPMGR_FRAME_READER_H
#define CAPMGR_FRAME_READER_H

#include <optional>

#include "capture_session.h"
#include "frame_watch.h"

class FrameReader {
  public:
    /* Starts the capture. Throws Failure. */
    FrameReader(const CaptureSettings& settings, const TraceOutput& trace);

    /*
     * Waits for a frame until the deadline and copies it. None when the deadline passed first.
     * Throws Failure when no frame will come any more or none came for too long.
     */
    std::optional<FrameNews> read(Frame& frame, Clock::time_point deadline);

    /* True while the newest grab gave no image. */
    bool hasNoImage() const { return lastFault_ == GrabFault::NoImage; }

  private:
    void take(const FrameNews& news);
    void failOn(GrabFault fault) const;
    void failIfSilent(Clock::time_point now) const;
    const char* reasonOfSilence() const;

    const CaptureSettings settings_;
    FrameWatch watch_;  // before the session, so that it misses nothing and outlives it
    CaptureSession session_;
    FrameNews pending_;  // frames told of and not read yet
    Frame read_;         // which may turn out to be a stand-in
    GrabFault lastFault_ = GrabFault::None;
    Clock::time_point lastRead_ = Clock::now();
};

#endif
