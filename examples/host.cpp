/*
 * The smallest host, in C++17: captures the primary monitor at half its size, and counts the
 * colours of ten frames. Capture and Frame are fit to be taken over: neither can be forgotten to be
 * ended.
 *
 * Its exit status is 0 when it has read ten frames, and 1 when something failed.
 */
#include <CaptureManager.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <unordered_set>

namespace {

constexpr int kFrames = 10;
constexpr unsigned int kFramesPerSecond = 10;
constexpr std::chrono::seconds kPatience{5};

/* A running capture of a monitor; stopped when it goes out of scope. */
class Capture {
  public:
    Capture(unsigned int monitor, CAP_SIZE size) : index_(CapMgr_GenerateCaptureIndex()) {
        CapMgr_SetMaxFrameRate(index_, kFramesPerSecond);
        CapMgr_SetCaptureFrameSize(index_, size);
        if (CapMgr_StartCapture(index_, monitor, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                                PARALLEL_CAPTURE_MODE) != 0) {
            throw std::runtime_error("the capture did not start");
        }
        // A capture begins with a few frames a second, whatever its maximum.
        CapMgr_UpdateFrameRate(index_, kFramesPerSecond);
    }
    ~Capture() { CapMgr_StopCapture(index_, 0); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    unsigned int index() const { return index_; }

  private:
    unsigned int index_;
};

/*
 * The newest frame of a capture, held still until this goes out of scope, which is to be soon, on
 * the same thread, and before the capture stops. False while there is none.
 */
class Frame {
  public:
    explicit Frame(const Capture& capture)
        : index_(capture.index()), data_(CapMgr_LockScreenBuffer(index_)) {}
    ~Frame() {
        if (data_.pData != nullptr) {
            CapMgr_UnlockScreenBuffer(index_);
        }
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    explicit operator bool() const { return data_.pData != nullptr; }
    const CAP_DESKTOP_DATA* operator->() const { return &data_; }

  private:
    unsigned int index_;
    CAP_DESKTOP_DATA data_;
};

CAP_MONITOR_INFO primaryMonitor() {
    CAP_MONITOR_INFO monitor{};
    if (!CapMgr_GetMonitorInfo(CapMgr_GetPrimaryMonitorIndex(), &monitor)) {
        throw std::runtime_error("there is no monitor, or no display server to ask for one");
    }
    return monitor;
}

CAP_SIZE halfSizeOf(const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    return {static_cast<std::uint32_t>(area.right - area.left) / 2,
            static_cast<std::uint32_t>(area.bottom - area.top) / 2};
}

std::size_t countColours(const Frame& frame) {
    constexpr std::size_t kBlueGreenRed = 3;  // the fourth byte of a pixel carries no picture
    std::unordered_set<std::uint32_t> colours;
    for (std::uint32_t offset = 0; offset < frame->dwDataLen; offset += 4) {
        std::uint32_t colour = 0;
        std::memcpy(&colour, frame->pData + offset, kBlueGreenRed);
        colours.insert(colour);
    }
    return colours.size();
}

/*
 * Nothing tells a new frame from the one before, so frames are read at the rate that was asked for.
 * The first takes about a second on a screen of one colour: such frames are held back at first.
 */
void readFrames(const Capture& capture) {
    const auto givenUp = std::chrono::steady_clock::now() + kPatience;
    for (int frames = 0; frames < kFrames;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1000) / kFramesPerSecond);
        if (const Frame frame(capture); frame) {
            std::cout << "frame " << ++frames << ": " << frame->dwWidth << " x " << frame->dwHeight
                      << " pixels, " << countColours(frame) << " colours\n";
        } else if (std::chrono::steady_clock::now() > givenUp) {
            throw std::runtime_error("no frame came");
        }
    }
}

}  // namespace

int main() {
    try {
        const CAP_MONITOR_INFO monitor = primaryMonitor();
        std::cout << "monitor " << monitor.dwIndex << ": " << monitor.cstrName << '\n';
        readFrames(Capture(monitor.dwIndex, halfSizeOf(monitor)));
    } catch (const std::exception& error) {
        std::cerr << "host: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
