#include "driven_capture.h"

#include <cstring>

#include "palette.h"
#include "require.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What a stop may take, and what a busy machine adds to it.
constexpr milliseconds kStopBound{3200};
constexpr milliseconds kStopSlack{kIsSanitized ? 3000 : 500};

const void* asHandle(xcb_window_t window) {
    return reinterpret_cast<const void*>(std::uintptr_t{window});
}

std::string textOf(CAP_SIZE size) {
    return std::to_string(size.dwWidth) + "x" + std::to_string(size.dwHeight);
}

bool isEmpty(CAP_SIZE size) {
    return size.dwWidth == 0 || size.dwHeight == 0;
}

}  // namespace

DrivenCapture::DrivenCapture(const Scene& scene, Journal& journal, Tally& tally)
    : scene_(scene), journal_(journal), tally_(tally) {}

/* After a failure too, nothing of the library's may run on while the process ends. */
DrivenCapture::~DrivenCapture() {
    CapMgr_StopCapture(index_, 1);
}

void DrivenCapture::note(const std::string& what) {
    journal_.note("capture " + std::to_string(index_) + ": " + what);
}

template <typename Call>
void DrivenCapture::timeStop(Call call) {
    const auto begin = Clock::now();
    call();
    const auto taken = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
    tally_.stops += 1;
    tally_.longestStop = std::max(tally_.longestStop, taken);
    require(taken <= kStopBound + kStopSlack, "a stop takes at most " +
                                                  std::to_string(kStopBound.count()) +
                                                  " ms; it took " + std::to_string(taken.count()));
}

void DrivenCapture::start(const Choice& choice) {
    note("start, monitor " + std::to_string(choice.monitor) + ", method " +
         std::to_string(choice.method) + ", type " + std::to_string(choice.type) + ", version " +
         std::to_string(choice.version));
    const bool isKept = isStarted_ && choice.method == CAP_METHOD_COREGRAPHICS &&
                        choice.monitor == choice_.monitor && choice.type == choice_.type &&
                        choice.version == choice_.version;
    std::uint32_t result = 1;
    timeStop([&] {
        result = CapMgr_StartCapture(index_, choice.monitor, choice.method, choice.type,
                                     choice.version, PARALLEL_CAPTURE_MODE);
    });
    require((result == 0) == (choice.monitor < CapMgr_GetMonitorCount()),
            "a start succeeds where there is such a monitor");
    if (result != 0)
        return;
    choice_ = choice;
    isStarted_ = true;
    isPaused_ = false;
    takeStoredSettings(isKept);
}

void DrivenCapture::takeStoredSettings(bool isKept) {
    if (!isKept) {
        CAP_MONITOR_INFO info{};
        require(CapMgr_GetMonitorInfo(choice_.monitor, &info), "a monitor is described");
        const tagCaptureRect& rect = info.rcMonitor;
        area_ = {static_cast<std::int16_t>(rect.left), static_cast<std::int16_t>(rect.top),
                 static_cast<std::uint16_t>(rect.right - rect.left),
                 static_cast<std::uint16_t>(rect.bottom - rect.top)};
        size_ = fullSize();
        hasFrame_ = mayHaveEnded_ = false;
        leftOut_.clear();
        shared_ = 0;
        sharedPixels_.clear();
    }
    if (!isEmpty(storedSize_) && fits(storedSize_))
        size_ = storedSize_;
    for (const xcb_window_t window : storedLeftOut_) {
        const auto stage = isKept ? LeftOut::Stage::ordered : LeftOut::Stage::binding;
        if (const Scene::Window* const found = scene_.find(window); found != nullptr)
            leftOut_.try_emplace(window,
                                 LeftOut{stage, scene_.time(), palette::pixelOf(found->color)});
    }
}

void DrivenCapture::stop(bool forgetsWindows) {
    note(forgetsWindows ? "stop, forgetting windows" : "stop");
    bool result = false;
    timeStop([&] { result = CapMgr_StopCapture(index_, forgetsWindows ? 1 : 0); });
    require(result == isStarted_, "a stop tells whether there was something to stop");
    isStarted_ = isPaused_ = mayHaveEnded_ = false;
    if (result && forgetsWindows)
        storedLeftOut_.clear();
    require(CapMgr_LockScreenBuffer(index_).pData == nullptr, "a stopped capture has no frame");
    require(CapMgr_UnlockScreenBuffer(index_) == 0, "a stopped capture has nothing to unlock");
}

void DrivenCapture::stopHoldingAFrame() {
    note("lock a frame, and keep it");
    CapMgr_LockScreenBuffer(index_);
    stop(false);
}

void DrivenCapture::pause() {
    note("pause");
    require(CapMgr_PauseCapture(index_) == (isStarted_ && !isPaused_),
            "a pause tells whether the capture ran");
    isPaused_ = isStarted_;
}

void DrivenCapture::resume() {
    note("resume");
    require(CapMgr_ResumeCapture(index_) == isPaused_,
            "a resume tells whether the capture was paused");
    isPaused_ = false;
}

bool DrivenCapture::fits(CAP_SIZE size) const {
    return size.dwWidth <= area_.width && size.dwHeight <= area_.height;
}

void DrivenCapture::setFrameSize(CAP_SIZE size) {
    note("frame size " + textOf(size));
    const bool isTaken = !isEmpty(size) && (!isStarted_ || fits(size));
    require(CapMgr_SetCaptureFrameSize(index_, size) == isTaken,
            "a frame size is taken where it is not larger than the monitor");
    if (!isEmpty(size))
        storedSize_ = size;
    if (isStarted_ && isTaken)
        size_ = size;
}

void DrivenCapture::setRates(unsigned most, unsigned current) {
    note("rate " + std::to_string(current) + " of " + std::to_string(most));
    require(CapMgr_SetMaxFrameRate(index_, most) == (most != 0), "each maximum but 0 is taken");
    require(CapMgr_UpdateFrameRate(index_, current) == (current != 0), "each rate but 0 is taken");
}

void DrivenCapture::leaveOut(xcb_window_t window) {
    note("leave out window " + std::to_string(window));
    CapMgr_SetExcludeWnd(index_, asHandle(window), CAP_EXC_WND_ADD);
    const Scene::Window* const found = scene_.find(window);
    if (!isStarted_)
        storedLeftOut_.insert(window);
    else if (found != nullptr)
        leftOut_.try_emplace(window, LeftOut{LeftOut::Stage::ordered, scene_.time(),
                                             palette::pixelOf(found->color)});
}

void DrivenCapture::takeBack(xcb_window_t window) {
    note("take back window " + std::to_string(window));
    CapMgr_SetExcludeWnd(index_, asHandle(window), CAP_EXC_WND_DELETE);
    if (isStarted_)
        leftOut_.erase(window);
    else
        storedLeftOut_.erase(window);
}

void DrivenCapture::takeAllBack() {
    note("take back all windows");
    CapMgr_SetExcludeWnd(index_, nullptr, CAP_EXC_WND_CLEAR);
    if (isStarted_)
        leftOut_.clear();
    else
        storedLeftOut_.clear();
}

void DrivenCapture::share(xcb_window_t window) {
    note("share window " + std::to_string(window));
    CapMgr_SetSharedAppWnd(index_, window, CAP_APP_WND_SET);
    const Scene::Window* const found = scene_.find(window);
    if (!isStarted_ || found == nullptr)
        return;
    shared_ = window;
    sharedPixels_.insert(palette::pixelOf(found->color));
}

void DrivenCapture::readFrame() {
    if (const std::optional<Picture> frame = newestFrame())
        check(*frame);
}

/* A copy, for which every byte is read. */
std::optional<Picture> DrivenCapture::newestFrame() {
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(index_);
    if (data.pData == nullptr)
        return std::nullopt;
    require(isStarted_, "only what was started has frames");
    require(data.dwWidth == size_.dwWidth && data.dwHeight == size_.dwHeight,
            "a frame has the size that was set, " + textOf(size_) + "; it has " +
                textOf({data.dwWidth, data.dwHeight}));
    require(data.dwDataLen == data.dwWidth * data.dwHeight * 4, "a frame's length is its size's");
    Picture frame(static_cast<int>(data.dwWidth), static_cast<int>(data.dwHeight));
    std::memcpy(frame.pixels.data(), data.pData, data.dwDataLen);
    require(CapMgr_UnlockScreenBuffer(index_) == 3, "a frame is unlocked while capturing");
    for (std::uint32_t& pixel : frame.pixels)
        pixel &= 0xFFFFFF;
    tally_.frames += 1;
    hasFrame_ = true;
    return frame;
}
