#include "capture_session.h"

#include <fmt/format.h>

#include "failure.h"

namespace {

/* The newest frame, held still for as long as this lives. */
class LockedFrame {
  public:
    explicit LockedFrame(unsigned int index)
        : index_(index), data_(CapMgr_LockScreenBuffer(index)) {}
    ~LockedFrame() {
        if (data_.pData != nullptr) {
            CapMgr_UnlockScreenBuffer(index_);
        }
    }
    LockedFrame(const LockedFrame&) = delete;
    LockedFrame& operator=(const LockedFrame&) = delete;

    const CAP_DESKTOP_DATA& data() const { return data_; }

  private:
    unsigned int index_;
    CAP_DESKTOP_DATA data_;
};

// The interface takes a window's number as a pointer.
const void* handleOf(std::uint32_t window) {
    return reinterpret_cast<const void*>(std::uintptr_t{window});
}

}  // namespace

CaptureSession::CaptureSession(const CaptureSettings& settings)
    : index_(CapMgr_GenerateCaptureIndex()) {
    start(settings);
}

CaptureSession::~CaptureSession() {
    stop();
}

void CaptureSession::start(const CaptureSettings& settings) const {
    CapMgr_SetMaxFrameRate(index_, settings.framesPerSecond);
    CapMgr_SetCaptureFrameSize(index_, settings.size);
    for (const std::uint32_t window : settings.excluded) {
        leaveOut(window);
    }
    const CAP_TYPE type = settings.window ? CAP_TYPE_APP_WINDOW : CAP_TYPE_DESKTOP;
    const std::uint32_t result = CapMgr_StartCapture(index_, settings.monitor, CAP_METHOD_DEFAULT,
                                                     type, 0, PARALLEL_CAPTURE_MODE);
    if (result != 0) {
        throw Failure(fmt::format("cannot start capturing monitor {} (code {}); see --trace 2",
                                  settings.monitor, result));
    }
    if (settings.window) {
        CapMgr_SetSharedAppWnd(index_, *settings.window, CAP_APP_WND_SET);
    }
    // A capture begins at 3 frames a second and the maximum alone never raises that.
    CapMgr_UpdateFrameRate(index_, settings.framesPerSecond);
}

void CaptureSession::stop() const {
    CapMgr_StopCapture(index_, 1);
}

void CaptureSession::pause() const {
    CapMgr_PauseCapture(index_);
}

void CaptureSession::resume() const {
    CapMgr_ResumeCapture(index_);
}

void CaptureSession::setSize(CAP_SIZE size) const {
    if (!CapMgr_SetCaptureFrameSize(index_, size)) {
        throw Failure(fmt::format("the capture manager refuses frames of {}x{}; see --trace 2",
                                  size.dwWidth, size.dwHeight));
    }
}

void CaptureSession::setRate(unsigned int framesPerSecond) const {
    CapMgr_SetMaxFrameRate(index_, framesPerSecond);
    // The maximum lowers the rate that is kept to, and alone never raises it.
    CapMgr_UpdateFrameRate(index_, framesPerSecond);
}

void CaptureSession::leaveOut(std::uint32_t window) const {
    CapMgr_SetExcludeWnd(index_, handleOf(window), CAP_EXC_WND_ADD);
}

void CaptureSession::takeIn(std::uint32_t window) const {
    CapMgr_SetExcludeWnd(index_, handleOf(window), CAP_EXC_WND_DELETE);
}

bool CaptureSession::read(Frame& frame) const {
    const LockedFrame locked(index_);
    const CAP_DESKTOP_DATA& data = locked.data();
    if (data.pData == nullptr) {
        return false;
    }
    frame.pixels.assign(data.pData, data.pData + data.dwDataLen);
    frame.width = data.dwWidth;
    frame.height = data.dwHeight;
    return true;
}
