/*
 * Reads every new frame of one capture, which runs for as long as the reader lives.
 */
#ifndef CAPMGR_FRAME_READER_H
#define CAPMGR_FRAME_READER_H

#include <functional>
#include <optional>
#include <string>

#include "capture_session.h"
#include "frame_watch.h"

class FrameReader {
  public:
    /* Starts the capture. Throws Failure. For onNews, see FrameWatch. */
    FrameReader(const CaptureSettings& settings, const TraceOutput& trace,
                std::function<void()> onNews = {});

    /*
     * Waits for a frame until the deadline and copies it. None when the deadline passed first.
     * Throws Failure when no frame will come any more or none came for too long.
     */
    std::optional<FrameNews> read(Frame& frame, Clock::time_point deadline);

    /* True while the newest grab gave no image. */
    bool hasNoImage() const { return lastFault_ == GrabFault::NoImage; }

    /* How many black pictures the capture delivered, for want of an image, since it was started. */
    std::uint64_t standIns() const { return standIns_; }

    /* No frame is to be read in between. */
    void pause() const { session_.pause(); }
    void resume();

    /* Changes of the running capture. Frames that were grabbed before are not read any more, so the
     * next one is as asked. Throw Failure when the library refuses. */
    void setSize(CAP_SIZE size);
    void leaveOut(std::uint32_t window);
    void takeIn(std::uint32_t window);
    /* Ends the capture and starts another one. */
    void restart(const CaptureSettings& settings);

    void setRate(unsigned int framesPerSecond);

    /* As they are after all changes. */
    const CaptureSettings& settings() const { return settings_; }

    /* Why no frames come at the moment; none while they do. */
    std::optional<std::string> trouble() const;

  private:
    void forgetFrames();
    void take(const FrameNews& news);
    void failOn(GrabFault fault) const;
    void failIfSilent(Clock::time_point now) const;
    const char* reasonOfSilence() const;

    CaptureSettings settings_;
    FrameWatch watch_;  // before the session, so that it misses nothing and outlives it
    CaptureSession session_;
    FrameNews pending_;        // frames told of and not read yet
    Frame read_;               // which may turn out to be a stand-in
    Clock::time_point since_;  // what was grabbed before is not read
    std::uint64_t standIns_ = 0;
    GrabFault lastFault_ = GrabFault::None;
    Clock::time_point lastRead_ = Clock::now();
};

#endif
