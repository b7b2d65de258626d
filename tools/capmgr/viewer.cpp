#include "viewer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "display_text.h"
#include "failure.h"
#include "json_output.h"
#include "monitors.h"
#include "viewer_monitor.h"

namespace {

// Numbers that change more often cannot be read.
constexpr std::chrono::milliseconds kTextPeriod{500};

constexpr std::chrono::seconds kNoticeTime{4};

// How long the picture may be that of a monitor which has changed.
constexpr std::chrono::seconds kMonitorPeriod{1};

std::string titleFor(const CAP_MONITOR_INFO& monitor) {
    return fmt::format("capmgr: monitor {} ({})", monitor.dwIndex, printable(monitorName(monitor)));
}

/* In two lines, which go into a window of the usual shapes. */
std::string keysText() {
    const std::vector<std::string> keys = keysHelp();
    const auto half = keys.begin() + static_cast<std::ptrdiff_t>((keys.size() + 1) / 2);
    return fmt::format("{}\n{}", fmt::join(keys.begin(), half, "   "),
                       fmt::join(half, keys.end(), "   "));
}

}  // namespace

Viewer::Viewer(const CaptureChoice& choice, const ViewerOptions& options,
               const Environment& environment)
    : options_(options),
      environment_(environment),
      window_(titleFor(choice.monitor), choice.settings.size, environment.errors),
      reader_(firstSettings(choice), environment.trace, [this] { window_.wake(); }) {
    status_.monitor = choice.monitor;
    status_.showsTexts = options.showsTexts;
    meter_.reset(Clock::now());
    monitorsDue_ = Clock::now() + kMonitorPeriod;
    nameWindows();
}

// A picture of the window in which it is shown would have itself in it, and so on.
CaptureSettings Viewer::firstSettings(const CaptureChoice& choice) {
    CaptureSettings settings = choice.settings;
    status_.ownWindow = window_.number();
    if (!options_.includesItself && !settings.window && status_.ownWindow) {
        settings.excluded.push_back(*status_.ownWindow);
    }
    return settings;
}

void Viewer::run() {
    while (!isClosed_ && !environment_.interruption.requested() && Clock::now() < end_) {
        for (auto event = window_.await(nextDeadline()); event;
             event = window_.await(Clock::now())) {
            handle(*event);
        }
        takeFrame();
        lookAtMonitors(Clock::now());
        updateTexts(Clock::now());
        if (!isDrawn_) {
            window_.draw();
            isDrawn_ = true;
        }
        tellState();
    }
}

Clock::time_point Viewer::nextDeadline() const {
    const Clock::time_point tick = std::min(end_, Clock::now() + kInterruptionTick);
    return isDrawn_ ? std::min(tick, textsDue_) : Clock::now();
}

void Viewer::handle(const SDL_Event& event) {
    switch (event.type) {
        case SDL_QUIT:
            isClosed_ = true;
            return;
        case SDL_WINDOWEVENT:
            isDrawn_ = false;
            return;
        case SDL_KEYDOWN:
            return press(event.key);
        default:
            return;
    }
}

// Ctrl-C in this window, say, must not bring windows into the picture.
void Viewer::press(const SDL_KeyboardEvent& key) {
    const bool isCommand = (key.keysym.mod & (KMOD_CTRL | KMOD_ALT | KMOD_GUI)) != 0;
    if (isCommand || key.repeat != 0) {
        return;
    }
    obey(actionFor(key.keysym.sym, windowList_.isOpen()));
    textsDue_ = {};
}

void Viewer::obey(ViewerAction action) {
    switch (action) {
        case ViewerAction::None:
            return;
        case ViewerAction::PauseOrResume:
            return pauseOrResume();
        case ViewerAction::LargerFrames:
            return changeSize(Step::Up);
        case ViewerAction::SmallerFrames:
            return changeSize(Step::Down);
        case ViewerAction::FasterRate:
            return changeRate(Step::Up);
        case ViewerAction::SlowerRate:
            return changeRate(Step::Down);
        case ViewerAction::NextMonitor:
            return nextMonitor();
        case ViewerAction::ChooseWindows:
            return chooseWindows();
        case ViewerAction::ClearWindows:
            return clearWindows();
        case ViewerAction::Fullscreen:
            status_.isFullscreen = !status_.isFullscreen;
            return window_.setFullscreen(status_.isFullscreen);
        case ViewerAction::ShowTexts:
            status_.showsTexts = !status_.showsTexts;
            return;
        case ViewerAction::Quit:
            isClosed_ = true;
            return;
        case ViewerAction::ListUp:
            return windowList_.up();
        case ViewerAction::ListDown:
            return windowList_.down();
        case ViewerAction::ListTick:
            return tickWindow();
        case ViewerAction::ListClose:
            return windowList_.close();
    }
}

// A frame that was on its way when the pause began is not shown.
void Viewer::takeFrame() {
    if (status_.isPaused) {
        return;
    }
    try {
        const std::optional<FrameNews> news = reader_.read(frame_, Clock::now());
        if (news) {
            show(*news);
        }
    } catch (const Failure&) {
        if (!followMonitor()) {
            throw;
        }
    }
}

// A picture that looks like the one before is not drawn again.
void Viewer::show(const FrameNews& news) {
    const bool isNew = frame_.width != shown_.width || frame_.height != shown_.height ||
                       frame_.pixels != shown_.pixels;
    if (isNew) {
        window_.setPicture(frame_);
        std::swap(frame_, shown_);
        window_.draw();
        isDrawn_ = true;
    }
    const Clock::time_point now = Clock::now();
    latency_ = now - news.grabBegan;
    meter_.add(news.frames, now);
    status_.shown = {shown_.width, shown_.height};
    if (options_.seconds && end_ == Clock::time_point::max()) {
        end_ = now + std::chrono::duration_cast<Clock::duration>(
                         std::chrono::duration<double>(*options_.seconds));
    }
}

// A capture goes on with the area that its monitor had, whatever has become of that.
void Viewer::lookAtMonitors(Clock::time_point now) {
    if (now >= monitorsDue_) {
        monitorsDue_ = now + kMonitorPeriod;
        followMonitor();
    }
}

// True when the capture goes on, with the monitor as it is now, or another one in its place.
bool Viewer::followMonitor() {
    const std::vector<CAP_MONITOR_INFO> monitors = presentMonitors();
    const unsigned int index = status_.monitor.dwIndex;
    if (monitors.empty() || (index < monitors.size() && isSame(monitors[index], status_.monitor))) {
        return false;
    }
    const CAP_MONITOR_INFO& next = monitors[index < monitors.size() ? index : 0];
    notify(index < monitors.size()
               ? fmt::format("monitor {} has changed to {}", index, sizeText(monitorSize(next)))
               : fmt::format("monitor {} is gone; this is monitor {}", index, next.dwIndex));
    startOn(next);
    return true;
}

void Viewer::startOn(const CAP_MONITOR_INFO& monitor) {
    CaptureSettings settings = reader_.settings();
    settings.monitor = monitor.dwIndex;
    settings.size = carriedOver(settings.size, monitorSize(status_.monitor), monitorSize(monitor));
    reader_.restart(settings);
    status_.monitor = monitor;
    status_.isPaused = false;
    status_.shown = {};
    meter_.reset(Clock::now());
    window_.setTitle(titleFor(monitor));
    windowList_.close();
}

void Viewer::changeSize(Step step) {
    const CAP_SIZE size = reader_.settings().size;
    const CAP_SIZE next = nextSize(size, monitorSize(status_.monitor), step);
    if (next.dwWidth != size.dwWidth) {
        reader_.setSize(next);
    }
}

void Viewer::changeRate(Step step) {
    reader_.setRate(nextRate(reader_.settings().framesPerSecond, step));
    meter_.reset(Clock::now());
}

void Viewer::pauseOrResume() {
    status_.isPaused = !status_.isPaused;
    status_.isPaused ? reader_.pause() : reader_.resume();
    meter_.reset(Clock::now());
}

void Viewer::nextMonitor() {
    const std::vector<CAP_MONITOR_INFO> monitors = presentMonitors();
    if (monitors.size() < 2) {
        return notify("there is no other monitor");
    }
    const std::size_t next = (std::size_t{status_.monitor.dwIndex} + 1) % monitors.size();
    startOn(monitors[next]);
}

void Viewer::chooseWindows() {
    if (reader_.settings().window) {
        return notify("one window is shown alone: there is none to leave out");
    }
    std::vector<Window> windows = listWindows();
    std::erase_if(windows, [this](const Window& window) {
        return window.number == status_.ownWindow || !isOn(window, status_.monitor);
    });
    windowList_.open(std::move(windows));
}

void Viewer::clearWindows() {
    const std::vector<std::uint32_t> excluded = reader_.settings().excluded;
    for (const std::uint32_t window : excluded) {
        if (options_.includesItself || window != status_.ownWindow) {
            reader_.takeIn(window);
        }
    }
    nameWindows();
}

void Viewer::tickWindow() {
    const std::optional<std::uint32_t> window = windowList_.current();
    if (!window) {
        return;
    }
    const std::vector<std::uint32_t>& excluded = reader_.settings().excluded;
    const bool isOut = std::count(excluded.begin(), excluded.end(), *window) > 0;
    isOut ? reader_.takeIn(*window) : reader_.leaveOut(*window);
    nameWindows();
}

void Viewer::nameWindows() {
    leftOutNames_.clear();
    const std::vector<Window> windows = listWindows();
    for (const std::uint32_t number : reader_.settings().excluded) {
        const auto found =
            std::find_if(windows.begin(), windows.end(),
                         [number](const Window& window) { return window.number == number; });
        const bool isOwn = number == status_.ownWindow;
        leftOutNames_.push_back(isOwn                    ? "this window"
                                : found != windows.end() ? nameOf(*found)
                                                         : fmt::format("window {}", number));
    }
}

void Viewer::notify(const std::string& notice) {
    notice_ = notice;
    noticeEnd_ = Clock::now() + kNoticeTime;
    textsDue_ = {};
}

void Viewer::updateTexts(Clock::time_point now) {
    status_.settings = reader_.settings();
    status_.choosesWindows = windowList_.isOpen();
    status_.notice = noticeText(now);
    if (now < textsDue_) {
        return;
    }
    textsDue_ = now + kTextPeriod;
    OverlayTexts texts;
    texts.notice = status_.notice;
    if (windowList_.isOpen()) {
        texts.list = windowList_.text(reader_.settings().excluded);
    }
    if (status_.showsTexts) {
        texts.status = statusText(status_, meter_.rate(now), latency_, leftOutNames_);
        texts.keys = keysText();
    }
    isDrawn_ = !window_.overlay().set(texts) && isDrawn_;
}

std::string Viewer::noticeText(Clock::time_point now) const {
    if (status_.isPaused) {
        return "paused; Space goes on";
    }
    const std::optional<std::string> trouble = reader_.trouble();
    if (trouble) {
        return "no picture: " + *trouble;
    }
    if (now < noticeEnd_) {
        return notice_;
    }
    return status_.shown.dwWidth == 0 ? "waiting for the first picture" : "";
}

void Viewer::tellState() {
    if (!options_.json) {
        return;
    }
    const nlohmann::ordered_json document = statusDocument(status_);
    std::string state = document.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (state != told_) {
        told_ = std::move(state);
        writeJsonLine(environment_.console, document);
    }
}
