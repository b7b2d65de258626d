#include "screen_source.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "fault.h"

namespace {

// A screen of one colour is held back for about a second, and a display that wakes up takes one or
// two; what is silent for longer than this has failed.
constexpr std::chrono::seconds kLongestSilence{5};

// Nobody tells when a monitor's size or place changes, and the capture goes on to show the area
// where it was.
constexpr std::chrono::seconds kMonitorLookInterval{1};

std::string textOf(const CAP_MONITOR_INFO& monitor) {
    const CAP_SIZE size = sizeOf(monitor);
    return std::to_string(size.dwWidth) + "x" + std::to_string(size.dwHeight) + " at " +
           std::to_string(monitor.rcMonitor.left) + "," + std::to_string(monitor.rcMonitor.top) +
           " (" + monitor.cstrName + ")";
}

bool isSameFrame(const CGRect& one, const CGRect& other) {
    return one.origin.x == other.origin.x && one.origin.y == other.origin.y &&
           one.size.width == other.size.width && one.size.height == other.size.height;
}

bool areSameFrames(const std::vector<CGRect>& some, const std::vector<CGRect>& others) {
    return std::equal(some.begin(), some.end(), others.begin(), others.end(), isSameFrame);
}

[[noreturn]] void failWithoutDisplay() {
    const char* const display = std::getenv("DISPLAY");
    const std::string where =
        display == nullptr ? "DISPLAY is not set" : "DISPLAY is '" + std::string(display) + "'";
    throw Fault(GST_RESOURCE_ERROR_OPEN_READ, "No display server can be reached (" + where +
                                                  "). Set DISPLAY to one that is running.");
}

[[noreturn]] void failWithoutMonitor(unsigned int wanted, std::size_t count) {
    const std::string present = count == 1
                                    ? "there is only monitor 0."
                                    : "there are monitors 0 to " + std::to_string(count - 1) + ".";
    throw Fault(GST_RESOURCE_ERROR_NOT_FOUND,
                "There is no monitor " + std::to_string(wanted) + ": " + present);
}

unsigned int primaryOf(const std::vector<CAP_MONITOR_INFO>& monitors) {
    const auto primary = std::find_if(monitors.begin(), monitors.end(),
                                      [](const CAP_MONITOR_INFO& one) { return one.bPrimary; });
    return primary == monitors.end() ? 0 : static_cast<unsigned int>(primary - monitors.begin());
}

// Whole frames a second that are enough for the rate.
unsigned int captureRate(const GstVideoInfo& format) {
    const auto numerator = static_cast<unsigned int>(GST_VIDEO_INFO_FPS_N(&format));
    const auto denominator = static_cast<unsigned int>(GST_VIDEO_INFO_FPS_D(&format));
    return (numerator + denominator - 1) / denominator;
}

CAP_SIZE sizeOf(const GstVideoInfo& format) {
    return {static_cast<std::uint32_t>(GST_VIDEO_INFO_WIDTH(&format)),
            static_cast<std::uint32_t>(GST_VIDEO_INFO_HEIGHT(&format))};
}

// False when there is none.
bool copyPicture(const Capture& capture, CAP_SIZE size, GstVideoFrame& picture) {
    const LockedFrame frame(capture);
    if (!frame.isPicture(size)) {
        return false;
    }
    const std::size_t rowLength = std::size_t{size.dwWidth} * 4;
    const std::uint8_t* source = frame.data().pData;
    auto* target = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&picture, 0));
    for (std::uint32_t row = 0; row < size.dwHeight; ++row) {
        std::memcpy(target, source, rowLength);
        source += rowLength;
        target += GST_VIDEO_FRAME_PLANE_STRIDE(&picture, 0);
    }
    return true;
}

}  // namespace

CAP_SIZE ScreenSource::open(std::optional<unsigned int> monitor, unsigned int window) {
    const std::vector<CAP_MONITOR_INFO> monitors = enumerateMonitors();
    if (monitors.empty()) {
        failWithoutDisplay();
    }
    const unsigned int index = monitor.value_or(primaryOf(monitors));
    if (index >= monitors.size()) {
        failWithoutMonitor(index, monitors.size());
    }
    monitor_ = monitors[index];
    frames_ = monitorFrames();
    lastLook_ = Clock::now();
    window_ = window;
    return sizeOf(monitor_);
}

bool ScreenSource::read(const std::vector<unsigned int>& excluded, GstVideoFrame& picture) {
    const CaptureSettings settings = {monitor_.dwIndex, sizeOf(picture.info),
                                      captureRate(picture.info), window_, excluded};
    if (capture_ == nullptr || !(capture_->settings() == settings)) {
        startAs(settings);
    }
    lookAtMonitor();
    if (!copyPicture(*capture_, settings.size, picture)) {
        failIfSilent();
        return false;
    }
    lastPicture_ = Clock::now();
    return true;
}

// The old capture ends first: both would run under the same index.
void ScreenSource::startAs(const CaptureSettings& settings) {
    if (!index_) {
        index_ = newCaptureIndex();
    }
    capture_.reset();
    failIfMonitorChanged();  // the index may be another one's by now
    capture_ = std::make_unique<Capture>(*index_, settings);
    lastPicture_ = Clock::now();
}

void ScreenSource::lookAtMonitor() {
    const Clock::time_point now = Clock::now();
    if (now - lastLook_ < kMonitorLookInterval) {
        return;
    }
    lastLook_ = now;
    std::vector<CGRect> frames = monitorFrames();
    if (!areSameFrames(frames, frames_)) {
        failIfMonitorChanged();
        frames_ = std::move(frames);  // only others have changed
    }
}

void ScreenSource::failIfMonitorChanged() const {
    const std::vector<CAP_MONITOR_INFO> monitors = enumerateMonitors();
    const std::string name = "Monitor " + std::to_string(monitor_.dwIndex);
    if (monitor_.dwIndex >= monitors.size()) {
        throw Fault(GST_RESOURCE_ERROR_READ,
                    name + " is gone: it was unplugged, or its display server has ended.");
    }
    const std::string before = textOf(monitor_);
    const std::string now = textOf(monitors[monitor_.dwIndex]);
    if (before != now) {
        throw Fault(GST_RESOURCE_ERROR_READ, name + " was " + before + " and is " + now +
                                                 " now. Start the element anew to capture it.");
    }
}

void ScreenSource::failIfSilent() const {
    if (Clock::now() - lastPicture_ < kLongestSilence) {
        return;
    }
    const std::string monitor = "monitor " + std::to_string(monitor_.dwIndex);
    const std::string duration = std::to_string(kLongestSilence.count()) + " s";
    if (window_ != 0) {
        throw Fault(GST_RESOURCE_ERROR_READ,
                    "Window " + std::to_string(window_) + " has shown nothing on " + monitor +
                        " for " + duration +
                        ": there is none of that number, or it is not on that monitor's screen.");
    }
    throw Fault(GST_RESOURCE_ERROR_READ,
                "No picture has come from " + monitor + " for " + duration +
                    ": the display sleeps, or the screen cannot be shown without the windows that "
                    "are to be left out.");
}
