/* What the frames of a driven capture must show, and must not. */
#include <kxcommon64.h>

#include <sstream>
#include <thread>

#include "driven_capture.h"
#include "palette.h"
#include "require.h"

namespace {

constexpr std::chrono::seconds kSettleBound{kIsSanitized ? 90 : 30};

/* Calls for each run of equal pixels, which there are few of. */
template <typename Look>
void forEachRun(const std::vector<std::uint32_t>& pixels, Look look) {
    std::uint32_t last = ~pixels.front();
    for (const std::uint32_t pixel : pixels) {
        if (pixel != last)
            look(pixel);
        last = pixel;
    }
}

[[noreturn]] void refuse(std::uint32_t pixel, const std::string& why) {
    std::ostringstream text;
    text << why << ": pixel 0x" << std::hex << pixel;
    throw Broken(text.str());
}

unsigned redOf(std::uint32_t pixel) {
    return pixel >> 16;
}

}  // namespace

bool DrivenCapture::isScaled() const {
    return size_.dwWidth != area_.width || size_.dwHeight != area_.height;
}

void DrivenCapture::check(const Picture& frame) {
    if (choice_.type == CAP_TYPE_DESKTOP)
        checkDesktop(frame);
    else
        checkWindow(frame);
}

/* Pixels blend where a frame is scaled, but none has more red than there is. */
void DrivenCapture::checkDesktop(const Picture& frame) {
    const std::optional<unsigned> time = timeIn(frame);
    if (time && !isPaused_)
        advance(*time);
    const std::set<xcb_window_t> binding = leftOutWindows(true);
    tally_.framesWithout += binding.empty() ? 0U : 1U;
    if (!isScaled()) {
        std::set<std::uint32_t> forbidden;
        for (const xcb_window_t window : binding)
            forbidden.insert(leftOut_.at(window).pixel);
        forEachRun(frame.pixels, [&](std::uint32_t pixel) {
            if (!palette::has(pixel))
                refuse(pixel, "a frame shows what is not in the scene");
            if (forbidden.contains(pixel))
                refuse(pixel, "a frame shows a window that was left out");
        });
    } else if (time && !isPaused_ && palette::isLater(*time, scene_.paintedAt())) {
        const unsigned mostRed = scene_.mostRed(binding);
        forEachRun(frame.pixels, [&](std::uint32_t pixel) {
            if (redOf(pixel) > mostRed)
                refuse(pixel, "a scaled frame shows a window that was left out");
        });
    }
}

/* Nothing but windows that were shared since the start, and where they are not, black. One without
 * a background shows the screen's where it has not been painted yet. */
void DrivenCapture::checkWindow(const Picture& frame) const {
    if (isScaled())
        return;
    forEachRun(frame.pixels, [&](std::uint32_t pixel) {
        if (!palette::isOfBackground(pixel) && !sharedPixels_.contains(pixel))
            refuse(pixel, "a frame of one window shows something else");
    });
}

/* When the frame was taken, by the clock in its upper left corner, if that can be read. */
std::optional<unsigned> DrivenCapture::timeIn(const Picture& frame) const {
    constexpr int kClockMiddle = 12;
    if (frame.width * 2 < area_.width || frame.height * 2 < area_.height)
        return std::nullopt;
    const int x = kClockMiddle * frame.width / area_.width;
    const int y = kClockMiddle * frame.height / area_.height;
    return palette::timeOf(frame.pixels[static_cast<std::size_t>(y * frame.width + x)]);
}

void DrivenCapture::advance(unsigned time) {
    for (auto& [window, leftOut] : leftOut_) {
        if (leftOut.stage == LeftOut::Stage::binding || !palette::isLater(time, leftOut.since))
            continue;
        const bool isFirst = leftOut.stage == LeftOut::Stage::ordered;
        leftOut.stage = isFirst ? LeftOut::Stage::seen : LeftOut::Stage::binding;
        leftOut.since = scene_.time();
    }
}

std::set<xcb_window_t> DrivenCapture::leftOutWindows(bool onlyBinding) const {
    std::set<xcb_window_t> windows;
    for (const auto& [window, leftOut] : leftOut_) {
        if (!onlyBinding || leftOut.stage == LeftOut::Stage::binding)
            windows.insert(window);
    }
    return windows;
}

Picture DrivenCapture::expected() const {
    Picture full = choice_.type == CAP_TYPE_DESKTOP ? scene_.desktop(area_, leftOutWindows(false))
                                                    : scene_.alone(area_, shared_);
    if (!isScaled())
        return full;
    Picture scaled(static_cast<int>(size_.dwWidth), static_cast<int>(size_.dwHeight));
    BilinearInterpolation(reinterpret_cast<const unsigned char*>(full.pixels.data()), full.width,
                          full.height, reinterpret_cast<unsigned char*>(scaled.pixels.data()),
                          scaled.width, scaled.height, 4);
    return scaled;
}

bool DrivenCapture::showsTheScene() {
    if (!isStarted_ || isPaused_ || mayHaveEnded_)
        return true;
    // Of a window that is not on screen there may be a picture from when it was.
    const Scene::Window* const shared = scene_.find(shared_);
    if (choice_.type == CAP_TYPE_APP_WINDOW && shared != nullptr && !shared->isMapped)
        return true;
    const std::optional<Picture> frame = newestFrame();
    if (!frame) {
        difference_ = "capture " + std::to_string(index_) + " has no frame";
        return false;
    }
    check(*frame);
    const Picture wanted = expected();
    if (frame->pixels == wanted.pixels) {
        tally_.settledFrames += 1;
        return true;
    }
    std::size_t first = 0;
    while (frame->pixels[first] == wanted.pixels[first])
        ++first;
    const auto width = static_cast<std::size_t>(wanted.width);
    std::ostringstream text;
    text << "capture " << index_ << ", the pixel at " << first % width << "," << first / width
         << " is 0x" << std::hex << frame->pixels[first] << ", not 0x" << wanted.pixels[first];
    difference_ = text.str();
    return false;
}

void DrivenCapture::forgetClosedWindows() {
    std::erase_if(leftOut_, [this](const auto& entry) { return !scene_.find(entry.first); });
    std::erase_if(storedLeftOut_, [this](xcb_window_t window) { return !scene_.find(window); });
}

void settle(Scene& scene, const Captures& captures) {
    std::vector<DrivenCapture*> waiting;
    for (const auto& capture : captures)
        waiting.push_back(capture.get());
    scene.paintAll();
    const auto deadline = std::chrono::steady_clock::now() + kSettleBound;
    for (;;) {
        scene.paintExposed();
        std::erase_if(waiting, [](DrivenCapture* capture) { return capture->showsTheScene(); });
        if (waiting.empty())
            break;
        require(std::chrono::steady_clock::now() < deadline,
                "each capture shows the scene in the end: " + waiting.front()->difference());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    for (const auto& capture : captures)
        capture->forgetClosedWindows();
}
