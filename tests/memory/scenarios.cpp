#include "scenarios.h"

#include <CaptureMac.h>
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <future>
#include <thread>

#include "require.h"
#include "shortage.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
constexpr std::uint32_t kWidth = Stage::kWidth;
constexpr std::uint32_t kHeight = Stage::kHeight;

/* A call of the library. */
template <typename Function, typename... Arguments>
auto ask(Function function, Arguments... arguments) {
    const shortage::Counted counted;
    return function(arguments...);
}

const void* handle(std::uint32_t window) {
    return reinterpret_cast<const void*>(std::uintptr_t{window});
}

/* A capture index, and what is done with it. */
class Capture {
  public:
    explicit Capture(const Doing& doing) : doing_(doing), index_(ask(CapMgr_GenerateCaptureIndex)) {
        doing_.expect(index_ != 0xFFFFFFFF, "an index");
        doing_.expect(ask(CapMgr_SetMaxFrameRate, index_, 30U), "a rate");
    }

    unsigned index() const { return index_; }

    void start(CAP_TYPE type = CAP_TYPE_DESKTOP) const {
        const std::uint32_t result = ask(CapMgr_StartCapture, index_, 0U, CAP_METHOD_COREGRAPHICS,
                                         type, 0U, PARALLEL_CAPTURE_MODE);
        doing_.expect(result == 0, "a start");
        ask(CapMgr_UpdateFrameRate, index_, 30U);
    }

    void setSize(std::uint32_t width, std::uint32_t height) const {
        doing_.expect(ask(CapMgr_SetCaptureFrameSize, index_, CAP_SIZE{width, height}), "a size");
    }

    void exclude(tagCapExcWndActType action) const {
        ask(CapMgr_SetExcludeWnd, index_, handle(doing_.stage().secretWindow()), action);
    }

    void stop() const { doing_.expect(ask(CapMgr_StopCapture, index_, 1), "a stop"); }

    /* Reads frames until one is as it is to be; while memory is short, for some of them only. No
     * frame may show a window that was left out. */
    template <typename Condition>
    void read(Condition isRight, bool mayShowSecret = true) const {
        doing_.stage().renew();
        const auto deadline = Clock::now() + (doing_.isStrict() ? 10s : 40ms);
        while (Clock::now() < deadline) {
            doing_.stage().paint();
            const Frame frame = newest();
            const bool isOfNow = !frame.bytes.empty() && doing_.stage().isOfNow(frame);
            require(mayShowSecret || !isOfNow || !doing_.stage().showsSecret(frame),
                    "no frame shows what was left out");
            if (isOfNow && isRight(frame))
                return;
            usleep(2000);
        }
        doing_.expect(false, "a right frame");
    }

    void readAnother() const {
        read([this](const Frame& frame) { return doing_.stage().showsPlain(frame); });
    }

    Frame newest() const {
        const CAP_DESKTOP_DATA data = ask(CapMgr_LockScreenBuffer, index_);
        if (data.pData == nullptr)
            return {};
        require(data.dwDataLen == data.dwWidth * data.dwHeight * 4,
                "a frame is as long as it says");
        Frame frame{data.dwWidth, data.dwHeight, {data.pData, data.pData + data.dwDataLen}};
        ask(CapMgr_UnlockScreenBuffer, index_);
        return frame;
    }

  private:
    const Doing& doing_;
    unsigned index_;
};

void save(const Frame& frame) {
    Frame copy = frame;
    std::string path = std::filesystem::temp_directory_path() / "frame_XXXXXX.bmp";
    const int descriptor = mkstemps(path.data(), 4);
    require(descriptor != -1, "a file");
    close(descriptor);
    ask(SaveBmp, path.data(), copy.bytes.data(), static_cast<int>(copy.width),
        static_cast<int>(copy.height), std::uint16_t{32});
    std::filesystem::remove(path);
}

void askForDisplays(const Doing& doing) {
    doing.expect(ask(CapMgr_GetMonitorCount) == 1, "one display");
    CAP_MONITOR_INFO information{};
    doing.expect(ask(CapMgr_GetMonitorInfo, 0U, &information), "what the display is");
    ask(CapMgr_GetPrimaryMonitorIndex);
    ask(CapMgr_GetSecondaryMonitorIndex);
    double scale = 0;
    ask(CapMgr_MonitorScreenInfo, 0U, &scale, static_cast<CGRect*>(nullptr));
    doing.expect(scale == 1.0, "its scale");
    ask(CapMgr_GenerateMonitor, 80, 60, 32U);
    doing.expect(ask(CapMgr_GetMonitorCount) == 2, "a second one");
    ask(CapMgr_UpdateMonitor);
    ask(CapMgr_OnMonitorInfoChange);
    doing.expect(ask(CapMgr_GetMonitorCount) == 1, "one display again");
    const unsigned first = ask(CapMgr_GenerateCaptureIndex);
    doing.expect(ask(CapMgr_GenerateCaptureIndex) == first + 1, "indexes in order");
}

/* The classes may throw that memory is short. */
void drawThumbnail(const Doing& doing) {
    Frame picture{40, 30, std::vector<std::uint8_t>(40 * 30 * 4)};
    bool isDrawn = false;
    try {
        const shortage::Counted counted;
        isDrawn =
            CMonitorManager::GetInstance()->GetScreenThumbnail(0, 40, 30, picture.bytes.data());
    } catch (const std::bad_alloc&) {
    }
    doing.expect(isDrawn && doing.stage().showsPlain(picture), "a thumbnail");
}

void useFirst(const Doing& doing) {
    askForDisplays(doing);
    drawThumbnail(doing);
    ask(CMonitorManager::DeleteInstance);
}

void capture(const Doing& doing) {
    const Capture capture(doing);
    capture.setSize(kWidth / 2 + 3, kHeight / 2 + 1);
    capture.start();
    capture.readAnother();
    save(capture.newest());
    ask(CapMgr_PauseCapture, capture.index());
    ask(CapMgr_ResumeCapture, capture.index());
    capture.setSize(kWidth, kHeight);
    capture.readAnother();
    std::async(std::launch::async, [&] {
        shortage::exemptThisThread();
        capture.newest();
    }).wait();
    capture.stop();
}

void leaveOut(const Doing& doing) {
    const Capture capture(doing);
    const auto isWithout = [&](const Frame& frame) {
        return doing.stage().showsPlain(frame) && !doing.stage().showsSecret(frame);
    };
    capture.exclude(CAP_EXC_WND_ADD);
    capture.start();
    capture.read(isWithout, false);
    capture.exclude(CAP_EXC_WND_CLEAR);
    capture.readAnother();
    capture.exclude(CAP_EXC_WND_ADD);
    capture.readAnother();  // the one that was under way may show it
    capture.read(isWithout, false);
    capture.exclude(CAP_EXC_WND_DELETE);
    capture.readAnother();
    capture.stop();
}

void shareWindow(const Doing& doing) {
    const Capture capture(doing);
    capture.start(CAP_TYPE_APP_WINDOW);
    ask(CapMgr_SetSharedAppWnd, capture.index(), doing.stage().plainWindow(), CAP_APP_WND_SET);
    doing.stage().renew();
    const auto deadline = Clock::now() + (doing.isStrict() ? 10s : 40ms);
    bool isShown = false;
    while (!isShown && Clock::now() < deadline) {
        const Frame frame = capture.newest();
        isShown = !frame.bytes.empty() && doing.stage().showsPlain(frame);
        require(frame.bytes.empty() || !doing.stage().showsSecret(frame), "only one window");
        usleep(2000);
    }
    doing.expect(isShown, "the window");
    drawThumbnail(doing);
    capture.stop();
}

void stopWhileRead(const Doing& doing) {
    const Capture capture(doing);
    capture.start();
    capture.readAnother();
    std::promise<bool> locked;
    std::promise<void> mayUnlock;
    std::thread reader([&] {
        shortage::exemptThisThread();
        locked.set_value(ask(CapMgr_LockScreenBuffer, capture.index()).pData != nullptr);
        mayUnlock.get_future().wait();
        ask(CapMgr_UnlockScreenBuffer, capture.index());
    });
    doing.expect(locked.get_future().get(), "a frame that is locked");
    capture.stop();
    mayUnlock.set_value();
    reader.join();
}

void stopWhileHanging(const Doing& doing) {
    const Capture capture(doing);
    if (!doing.stage().hang())
        return;
    capture.start();
    if (doing.isStrict())
        doing.expect(doing.stage().awaitHang(), "a hang");
    capture.stop();
    doing.stage().letGo();
}

}  // namespace

void Doing::expect(bool holds, const char* what) const {
    require(holds || !isStrict_, what);
}

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = {
        {"first use", useFirst},
        {"capture", capture},
        {"leave out", leaveOut},
        {"share window", shareWindow},
        {"stop while read", stopWhileRead},
        {"stop while hanging", stopWhileHanging},
    };
    return all;
}
