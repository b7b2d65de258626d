// A host that does with its displays what hosts do, for two builds of the library to be compared by
// what they give it. Knows the library's interface only. What stands on the screen must be at rest,
// and of more than one colour.
//
//   display_frames frames DIRECTORY EXCLUDED SHARED
//       Prints what there is to know of the monitors and writes frames into the directory; EXCLUDED
//       and SHARED are window numbers.
//   display_frames until-loss
//       Captures the main monitor, prints "capturing" when a frame has come, and stops when the
//       frames have turned black.
//
// Ends with 0 when all went well, with 1 and a line on standard error otherwise.
#include <CaptureManager.h>
#include <CoreGraphics/CGGeometry.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::chrono::seconds kBound{20};
constexpr milliseconds kPoll{5};
constexpr milliseconds kStandstill{300};
constexpr unsigned kFrameRate = 30;
constexpr size_t kPixelSize = 4;

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

struct Frame {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> bytes;

    // Whether the colour differs from a pixel to another; the fourth byte is no colour.
    [[nodiscard]] bool hasPicture() const {
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (i % kPixelSize != kPixelSize - 1 && bytes[i] != bytes[i % kPixelSize]) {
                return true;
            }
        }
        return false;
    }

    friend bool operator==(const Frame&, const Frame&) = default;

    [[nodiscard]] bool isBlack() const {
        return !bytes.empty() && !hasPicture() && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0;
    }
};

class Capture {
  public:
    explicit Capture(unsigned monitor, CAP_TYPE type = CAP_TYPE_DESKTOP)
        : monitor_(monitor), type_(type) {
        CapMgr_SetMaxFrameRate(index_, kFrameRate);
    }
    ~Capture() { CapMgr_StopCapture(index_, 1); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    [[nodiscard]] unsigned index() const { return index_; }

    void start() const {
        require(CapMgr_StartCapture(index_, monitor_, CAP_METHOD_DEFAULT, type_, 0,
                                    PARALLEL_CAPTURE_MODE) == 0,
                "a capture does not start");
        CapMgr_UpdateFrameRate(index_, kFrameRate);
    }

    void stop() const { require(CapMgr_StopCapture(index_, 0), "a capture does not stop"); }

    void setSize(CAP_SIZE size) const {
        require(CapMgr_SetCaptureFrameSize(index_, size), "a frame size is refused");
    }

    // Empty when there is none.
    [[nodiscard]] Frame newest() const {
        const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(index_);
        if (data.pData == nullptr) {
            return {};
        }
        Frame frame{data.dwWidth, data.dwHeight, {data.pData, data.pData + data.dwDataLen}};
        CapMgr_UnlockScreenBuffer(index_);
        return frame;
    }

    // Returns a frame of which the condition held all the time, and which stayed the same, for
    // longer than any two frames are apart: a capture's first frames may show a screen that is not
    // at rest yet.
    template <typename Condition>
    [[nodiscard]] Frame awaitStill(Condition isWanted, const char* what) const {
        const auto deadline = Clock::now() + kBound;
        Frame last;
        for (auto since = Clock::now(); Clock::now() < deadline;) {
            Frame frame = newest();
            if (!isWanted(frame) || frame != last) {
                since = Clock::now();
            }
            if (Clock::now() - since >= kStandstill) {
                return frame;
            }
            last = std::move(frame);
            std::this_thread::sleep_for(kPoll);
        }
        throw std::runtime_error(std::string("no ") + what);
    }

    [[nodiscard]] Frame awaitPicture() const {
        return awaitStill([](const Frame& frame) { return frame.hasPicture(); },
                          "frame with a picture");
    }

    // A frame of the size, cleared when that was set, and not written to since. A frame that was
    // being made when the capture paused may still be written to it: then it is set once more.
    [[nodiscard]] Frame awaitPaused(CAP_SIZE size) const {
        setSize(size);
        return awaitStill(
            [&](const Frame& frame) {
                const bool isBlack = frame.isBlack();
                if (!isBlack) {
                    setSize(size);
                }
                return isBlack;
            },
            "standstill of a paused capture");
    }

    [[nodiscard]] Frame awaitLoss() const {
        return awaitStill([](const Frame& frame) { return frame.isBlack(); }, "black frame");
    }

  private:
    const unsigned index_ = CapMgr_GenerateCaptureIndex();
    const unsigned monitor_;
    const CAP_TYPE type_;
};

CAP_MONITOR_INFO describe(unsigned monitor) {
    CAP_MONITOR_INFO info{};
    require(CapMgr_GetMonitorInfo(monitor, &info), "a monitor is not described");
    return info;
}

void printMonitor(unsigned monitor) {
    const CAP_MONITOR_INFO info = describe(monitor);
    double scale = -1;
    CGRect frame = CGRectMake(-1, -1, -1, -1);
    CapMgr_MonitorScreenInfo(monitor, &scale, &frame);
    std::printf("monitor %u \"%s\" from %d, %d to %d, %d, %u Hz, %u bits, main %d\n", info.dwIndex,
                info.cstrName, info.rcMonitor.left, info.rcMonitor.top, info.rcMonitor.right,
                info.rcMonitor.bottom, info.dwFrequency, info.dwBitsPerPixel, info.bPrimary);
    std::printf("  its screen: scale %.17g, %.17g x %.17g at %.17g, %.17g\n", scale,
                frame.size.width, frame.size.height, frame.origin.x, frame.origin.y);
}

void printMonitors() {
    const unsigned count = CapMgr_GetMonitorCount();
    std::printf("%u monitors, the main one is %u, the first other one %u\n", count,
                CapMgr_GetPrimaryMonitorIndex(), CapMgr_GetSecondaryMonitorIndex());
    for (unsigned monitor = 0; monitor < count; ++monitor) {
        printMonitor(monitor);
    }
}

// A line with width and height, and the frame's bytes.
class FrameDirectory {
  public:
    explicit FrameDirectory(std::filesystem::path path) : path_(std::move(path)) {}

    void write(const std::string& name, const Frame& frame) const {
        std::ofstream file(path_ / name, std::ios::binary);
        file << frame.width << ' ' << frame.height << '\n';
        for (const uint8_t byte : frame.bytes) {
            file.put(static_cast<char>(byte));
        }
        file.close();
        require(!file.fail(), "cannot write " + (path_ / name).string());
    }

  private:
    const std::filesystem::path path_;
};

void writeWholeDisplays(const FrameDirectory& frames) {
    const unsigned count = CapMgr_GetMonitorCount();
    for (unsigned monitor = 0; monitor < count; ++monitor) {
        const Capture capture(monitor);
        capture.start();
        frames.write("whole " + std::to_string(monitor), capture.awaitPicture());
    }
}

CAP_SIZE partOf(unsigned monitor, uint32_t numerator, uint32_t denominator) {
    const tagCaptureRect area = describe(monitor).rcMonitor;
    return {static_cast<uint32_t>(area.right - area.left) * numerator / denominator,
            static_cast<uint32_t>(area.bottom - area.top) * numerator / denominator};
}

void writeOneCapturesLife(const FrameDirectory& frames) {
    const unsigned monitor = CapMgr_GetPrimaryMonitorIndex();
    const Capture capture(monitor);
    capture.setSize(partOf(monitor, 2, 3));
    capture.start();
    frames.write("scaled", capture.awaitPicture());
    capture.setSize(partOf(monitor, 1, 5));
    frames.write("resized", capture.awaitPicture());
    require(CapMgr_PauseCapture(capture.index()), "a capture does not pause");
    frames.write("paused", capture.awaitPaused(partOf(monitor, 1, 2)));
    require(CapMgr_ResumeCapture(capture.index()), "a capture does not resume");
    frames.write("resumed", capture.awaitPicture());
    capture.stop();
    require(capture.newest().bytes.empty(), "a stopped capture has a frame");
    capture.start();
    frames.write("restarted", capture.awaitPicture());
}

void writeWithout(uintptr_t window, const FrameDirectory& frames) {
    const Capture capture(CapMgr_GetPrimaryMonitorIndex());
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface passes window numbers so
    const auto* const number = reinterpret_cast<const void*>(window);
    CapMgr_SetExcludeWnd(capture.index(), number, CAP_EXC_WND_ADD);
    capture.start();
    frames.write("excluded", capture.awaitPicture());
}

void writeWindow(unsigned window, const FrameDirectory& frames) {
    const Capture capture(CapMgr_GetPrimaryMonitorIndex(), CAP_TYPE_APP_WINDOW);
    capture.start();
    CapMgr_SetSharedAppWnd(capture.index(), window, CAP_APP_WND_SET);
    frames.write("shared", capture.awaitPicture());
}

void captureUntilLoss() {
    const Capture capture(CapMgr_GetPrimaryMonitorIndex());
    capture.start();
    (void)capture.awaitPicture();
    std::puts("capturing");
    std::fflush(stdout);
    (void)capture.awaitLoss();
    capture.stop();
    std::puts("stopped");
}

void run(const std::vector<std::string>& arguments) {
    if (arguments == std::vector<std::string>{"until-loss"}) {
        captureUntilLoss();
        return;
    }
    require(arguments.size() == 4 && arguments[0] == "frames",
            "usage: display_frames frames DIRECTORY EXCLUDED SHARED | until-loss");
    const FrameDirectory frames(arguments[1]);
    printMonitors();
    writeWholeDisplays(frames);
    writeOneCapturesLife(frames);
    writeWithout(std::stoul(arguments[2]), frames);
    writeWindow(static_cast<unsigned>(std::stoul(arguments[3])), frames);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "display_frames: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
