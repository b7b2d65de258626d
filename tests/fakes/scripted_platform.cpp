#include "scripted_platform.h"

#include <algorithm>
#include <stdexcept>

#include "script.h"

namespace scripted {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

Script& script() {
    return Script::instance();
}

std::string functionOf(const Call& call) {
    return call.text.substr(0, call.text.find('('));
}

void setMode(Display& display, size_t width, size_t height, size_t scale) {
    Mode mode = display.mode.value_or(Mode{});
    mode.pointWidth = width;
    mode.pointHeight = height;
    mode.pixelWidth = width * scale;
    mode.pixelHeight = height * scale;
    display.mode = mode;
    display.bounds.size = {static_cast<double>(width), static_cast<double>(height)};
}

size_t scaleOf(const Display& display) {
    return display.mode && display.mode->pointWidth != 0
               ? display.mode->pixelWidth / display.mode->pointWidth
               : 1;
}

}  // namespace

uint32_t colourfulPixel(size_t x, size_t y) {
    return 0xFF000000U | static_cast<uint32_t>((x * 2654435761U + y * 40503U + 7) & 0xFFFFFF);
}

Display makeDisplay(uint32_t id, double x, double y, size_t width, size_t height, size_t scale) {
    Display display;
    display.id = id;
    display.bounds.origin = {x, y};
    setMode(display, width, height, scale);
    display.names = {{"en_US", "Panel " + std::to_string(id)}};
    return display;
}

void reset() {
    const Lock lock(script().mutex());
    script().reset();
}

void plugIn(const Display& display) {
    const Lock lock(script().mutex());
    script().displays().push_back(display);
}

void unplug(uint32_t id) {
    const Lock lock(script().mutex());
    if (std::erase_if(script().displays(), [id](const Display& d) { return d.id == id; }) == 0) {
        throw std::invalid_argument("no display " + std::to_string(id));
    }
}

void change(uint32_t id, const std::function<void(Display&)>& edit) {
    const Lock lock(script().mutex());
    for (Display& display : script().displays()) {
        if (display.id == id) {
            edit(display);
            return;
        }
    }
    throw std::invalid_argument("no display " + std::to_string(id));
}

void moveTo(uint32_t id, double x, double y) {
    change(id, [x, y](Display& display) { display.bounds.origin = {x, y}; });
}

void resize(uint32_t id, size_t width, size_t height) {
    change(id, [width, height](Display& display) {
        setMode(display, width, height, scaleOf(display));
    });
}

void setScale(uint32_t id, size_t scale) {
    change(id, [scale](Display& display) {
        const CGSize points = display.bounds.size;
        setMode(display, static_cast<size_t>(points.width), static_cast<size_t>(points.height),
                scale);
    });
}

void preferLocales(std::vector<std::string> locales) {
    const Lock lock(script().mutex());
    script().preferredLocales = std::move(locales);
}

void leaveCutText() {
    const Lock lock(script().mutex());
    script().leavesCutText = true;
}

void showWindows(std::vector<uint32_t> windows) {
    const Lock lock(script().mutex());
    script().windows = std::move(windows);
}

void presentImagesOf(size_t width, size_t height) {
    const Lock lock(script().mutex());
    script().imageSize = PixelSize{width, height};
}

void setCalendarClock(unsigned int seconds, int nanoseconds) {
    const Lock lock(script().mutex());
    script().calendar = {seconds, nanoseconds};
}

void fail(const std::string& function, size_t skip, size_t times) {
    const Lock lock(script().mutex());
    script().failFrom(function, skip, times);
}

void whenCalled(const std::string& function, const std::function<void()>& action, size_t skip) {
    const Lock lock(script().mutex());
    script().actOn(function, action, skip);
}

void hang(const std::string& function, bool cancellable) {
    script().hangNext(function, cancellable);
}

bool awaitHang() {
    return script().awaitHang();
}

void letGo() {
    script().letGo();
}

void watchWork(void (*watcher)(bool begins)) {
    Work::watcher = watcher;
}

std::vector<Call> calls() {
    const Lock lock(script().mutex());
    return script().calls();
}

std::vector<std::string> callsOf(const std::vector<std::string>& functions) {
    std::vector<std::string> texts;
    for (const Call& call : calls()) {
        if (std::find(functions.begin(), functions.end(), functionOf(call)) != functions.end()) {
            texts.push_back(call.text);
        }
    }
    return texts;
}

size_t countCalls(const std::string& function) {
    return callsOf({function}).size();
}

void forgetCalls() {
    const Lock lock(script().mutex());
    script().forgetCalls();
}

std::vector<std::string> faults() {
    const Lock lock(script().mutex());
    return script().objects().faults();
}

std::vector<std::string> leaks() {
    const Lock lock(script().mutex());
    std::vector<std::string> leaked = script().objects().leaks();
    if (script().clockPorts != 0) {
        leaked.push_back("leaked clock ports, " + std::to_string(script().clockPorts));
    }
    return leaked;
}

}  // namespace scripted
