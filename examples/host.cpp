/*
 * The smallest host, in C++17: lists the monitors, then captures the primary one at half its size
 * until a frame comes, and tells how many colours it holds.
 */
#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <thread>
#include <unordered_set>

#include "CaptureManager.h"

namespace {

/* A started capture, stopped when it goes out of scope. */
class Capture {
  public:
    Capture(unsigned int monitor, CAP_SIZE size) : index_(CapMgr_GenerateCaptureIndex()) {
        CapMgr_SetCaptureFrameSize(index_, size);
        started_ = CapMgr_StartCapture(index_, monitor, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                                       PARALLEL_CAPTURE_MODE) == 0;
    }
    ~Capture() { CapMgr_StopCapture(index_, 0); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    bool started() const { return started_; }

    /* Calls read with the newest frame, held still meanwhile; false while there is none. */
    template <typename Reader>
    bool withFrame(Reader read) const {
        const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index_);
        if (frame.pData == nullptr) {
            return false;
        }
        read(frame);
        CapMgr_UnlockScreenBuffer(index_);
        return true;
    }

  private:
    unsigned int index_;
    bool started_ = false;
};

void countColours(const CAP_DESKTOP_DATA& frame) {
    constexpr std::uint32_t kWithoutAlpha = 0xFFFFFF;
    std::unordered_set<std::uint32_t> colours;
    for (std::uint32_t offset = 0; offset < frame.dwDataLen; offset += 4) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, frame.pData + offset, sizeof(pixel));
        colours.insert(pixel & kWithoutAlpha);
    }
    std::cout << frame.dwWidth << " x " << frame.dwHeight << " pixels, " << colours.size()
              << " colours\n";
}

bool captureOneFrame(const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    const Capture capture(monitor.dwIndex,
                          {static_cast<std::uint32_t>(area.right - area.left) / 2,
                           static_cast<std::uint32_t>(area.bottom - area.top) / 2});
    // A screen of one colour is held back for about a second.
    for (int attempt = 0; capture.started() && attempt < 250; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (capture.withFrame(countColours)) {
            return true;
        }
    }
    return false;
}

}  // namespace

int main() {
    CAP_MONITOR_INFO monitor{};
    for (unsigned int index = 0; CapMgr_GetMonitorInfo(index, &monitor); ++index) {
        std::cout << "monitor " << index << ": " << monitor.cstrName << '\n';
    }
    if (!CapMgr_GetMonitorInfo(CapMgr_GetPrimaryMonitorIndex(), &monitor)) {
        std::cerr << "host: there is no monitor\n";
        return 1;
    }
    if (!captureOneFrame(monitor)) {
        std::cerr << "host: no frame came\n";
        return 1;
    }
    return 0;
}
