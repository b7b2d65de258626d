/*
 * One running capture: started by the constructor, ended by the destructor.
 *
 * For one thread, as the interface itself is. Frames come as soon as the capture thread has some.
 * Of a window alone, the first ones are black: it cannot be chosen before the capture runs.
 */
#ifndef CAPMGR_CAPTURE_SESSION_H
#define CAPMGR_CAPTURE_SESSION_H

#include <cstdint>
#include <optional>
#include <vector>

#include "CaptureManager.h"
#include "frame.h"

struct CaptureSettings {
    unsigned int monitor = 0;
    CAP_SIZE size{};  // pixels, from 1 x 1 up to the monitor's own
    unsigned int framesPerSecond = 30;
    std::vector<std::uint32_t> excluded;  // numbers of windows to leave out
    std::optional<std::uint32_t> window;  // to capture alone
};

class CaptureSession {
  public:
    /* Throws Failure when the library refuses. */
    explicit CaptureSession(const CaptureSettings& settings);
    ~CaptureSession();
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    /* From the call on; a frame that is being grabbed may still come. Pausing takes effect at once,
     * going on within half a second. */
    void pause() const;
    void resume() const;

    /* At most the monitor's own size. The frame buffer is black until the next frame is grabbed.
     * Throws Failure when the library refuses. */
    void setSize(CAP_SIZE size) const;
    void setRate(unsigned int framesPerSecond) const;
    void leaveOut(std::uint32_t window) const;
    void takeIn(std::uint32_t window) const;

    /* Ends the capture; only start may follow. Forgets the windows that were left out. */
    void stop() const;
    /* Starts anew under the same index. Throws Failure when the library refuses. */
    void start(const CaptureSettings& settings) const;

    /* Copies the newest frame; false, and frame is left alone, while there is none. */
    bool read(Frame& frame) const;

  private:
    unsigned int index_;
};

#endif
