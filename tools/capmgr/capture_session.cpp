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

}  // namespace

CaptureSession::CaptureSession(const CaptureSettings& settings)
    : index_(CapMgr_GenerateCaptureIndex()) {
    CapMgr_SetMaxFrameRate(index_, settings.framesPerSecond);
    CapMgr_SetCaptureFrameSize(index_, settings.size);
    for (const std::uintptr_t window : settings.excluded) {
        CapMgr_SetExcludeWnd(index_, reinterpret_cast<const void*>(window), CAP_EXC_WND_ADD);
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

CaptureSession::~CaptureSession() {
    CapMgr_StopCapture(index_, 1);
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
