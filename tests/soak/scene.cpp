#include "scene.h"

#include <algorithm>

#include "palette.h"
#include "plug_board.h"

namespace {

constexpr std::size_t kFewestWindows = 4;
constexpr std::size_t kMostWindows = 10;
constexpr std::uint16_t kClockSize = 24;

std::string nameOf(const Scene::Window& window) {
    return (window.isSecret ? "secret window " : "window ") + std::to_string(window.id);
}

std::string textOf(const Area& area) {
    return std::to_string(area.width) + "x" + std::to_string(area.height) + " at " +
           std::to_string(area.x) + "," + std::to_string(area.y);
}

}  // namespace

Scene::Scene(const std::string& display, unsigned seed, Size screen, unsigned time)
    : client_(display), random_(seed), screen_(screen), time_(time) {
    for (const Area& area : clockAreas())
        clocks_.push_back(client_.open({.area = area, .isOverrideRedirect = true}));
    changeBackground();
    for (std::size_t i = 0; i < kFewestWindows; ++i)
        open();
    tick();
}

/* One in the upper left corner of each place that a display may have. */
std::vector<Area> Scene::clockAreas() {
    std::vector<Area> areas;
    for (int row = 0; row < PlugBoard::kRows; ++row)
        for (int column = 0; column < PlugBoard::kColumns; ++column)
            areas.push_back({static_cast<std::int16_t>(column * PlugBoard::kColumnWidth),
                             static_cast<std::int16_t>(row * PlugBoard::kRowHeight), kClockSize,
                             kClockSize});
    return areas;
}

Area Scene::anyArea() {
    const bool isSmall = oneIn(2);
    return {static_cast<std::int16_t>(static_cast<int>(below(screen_.width)) - 50),
            static_cast<std::int16_t>(static_cast<int>(below(screen_.height)) - 40),
            static_cast<std::uint16_t>(10 + below(isSmall ? 80 : 500)),
            static_cast<std::uint16_t>(10 + below(isSmall ? 60 : 350))};
}

std::string Scene::change() {
    const std::size_t position = below(static_cast<unsigned>(windows_.size()));
    std::string done;
    switch (below(14)) {
        case 0:
            done = windows_.size() < kMostWindows ? open() : close(position);
            break;
        case 1:
            done = windows_.size() > kFewestWindows ? close(position) : open();
            break;
        case 2:
        case 3:
            done = restack(position, true);
            break;
        case 4:
            done = restack(position, false);
            break;
        case 5:
        case 6:
            done = toggleMapped(windows_[position]);
            break;
        case 7:
        case 8:
            done = resize(windows_[position]);
            break;
        case 9:
            done = oneIn(4) ? changeBackground() : move(windows_[position]);
            break;
        default:
            done = move(windows_[position]);
    }
    client_.sync();
    return done;
}

/* Beneath the clocks, and mapped. Every third is secret; every fourth has no background, so that it
 * keeps what the server puts into it until it is painted. */
std::string Scene::open() {
    const unsigned number = opened_++;
    Window window;
    window.area = anyArea();
    window.isSecret = number % 3 == 2;
    window.color = window.isSecret ? palette::secret(number) : palette::ordinary(number);
    const bool hasBackground = !oneIn(4);
    window.id = client_.create(
        {.area = window.area,
         .color = window.color,
         .background = hasBackground ? Look::Background::color : Look::Background::none});
    client_.placeBelow(window.id, clocks_.front());
    client_.map(window.id);
    windows_.push_back(window);
    return nameOf(window) + " opened, " + textOf(window.area) +
           (hasBackground ? "" : ", no background");
}

std::string Scene::close(std::size_t position) {
    const Window window = windows_[position];
    client_.destroy(window.id);
    client_.takeExposure(window.id);  // or the client would remember it for good
    windows_.erase(windows_.begin() + static_cast<std::ptrdiff_t>(position));
    closed_.push_back(window);
    return nameOf(window) + " closed";
}

std::string Scene::restack(std::size_t position, bool isRaised) {
    const auto chosen = windows_.begin() + static_cast<std::ptrdiff_t>(position);
    const std::string name = nameOf(*chosen);
    if (isRaised) {
        client_.placeBelow(chosen->id, clocks_.front());
        std::rotate(chosen, chosen + 1, windows_.end());
        return name + " raised";
    }
    client_.lower(chosen->id);
    std::rotate(windows_.begin(), chosen, chosen + 1);
    return name + " lowered";
}

std::string Scene::toggleMapped(Window& window) {
    window.isMapped = !window.isMapped;
    if (window.isMapped)
        client_.map(window.id);
    else
        client_.unmap(window.id);
    return nameOf(window) + (window.isMapped ? " mapped" : " unmapped");
}

std::string Scene::move(Window& window) {
    const Area area = anyArea();
    window.area.x = area.x;
    window.area.y = area.y;
    client_.move(window.id, area.x, area.y);
    return nameOf(window) + " moved, " + textOf(window.area);
}

std::string Scene::resize(Window& window) {
    const Area area = anyArea();
    window.area.width = area.width;
    window.area.height = area.height;
    client_.resize(window.id, area.width, area.height);
    return nameOf(window) + " resized, " + textOf(window.area);
}

std::string Scene::changeBackground() {
    background_ = palette::background(below(100));
    client_.setRootColor(background_);
    return "background changed";
}

void Scene::tick() {
    time_ = (time_ + 1) % palette::kTimes;
    paintClocks();
    client_.sync();
}

void Scene::paintClocks() {
    for (const xcb_window_t clock : clocks_)
        client_.fill(clock, {0, 0, kClockSize, kClockSize}, palette::clock(time_));
}

void Scene::paint(const Window& window) {
    client_.fill(window.id, {0, 0, window.area.width, window.area.height}, window.color);
}

void Scene::paintExposed() {
    for (const Window& window : windows_) {
        if (client_.takeExposure(window.id))
            paint(window);
    }
    paintClocks();
    client_.sync();
}

void Scene::paintAll() {
    for (const Window& window : windows_)
        paint(window);
    tick();
    closed_.clear();
    paintedAt_ = time_;
}

const Scene::Window* Scene::find(xcb_window_t window) const {
    const auto found = std::ranges::find(windows_, window, &Window::id);
    return found == windows_.end() ? nullptr : &*found;
}

/* Nothing is seen beyond the screen. */
Area Scene::onScreen(const Area& area) const {
    const int left = std::max<int>(area.x, 0);
    const int top = std::max<int>(area.y, 0);
    const int right = std::min<int>(area.x + area.width, screen_.width);
    const int bottom = std::min<int>(area.y + area.height, screen_.height);
    if (right <= left || bottom <= top)
        return {};
    return {static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
            static_cast<std::uint16_t>(right - left), static_cast<std::uint16_t>(bottom - top)};
}

Picture Scene::desktop(const Area& area, const std::set<xcb_window_t>& without) const {
    Picture picture(area.width, area.height);
    const auto draw = [&](const Area& part, Color color) {
        picture.fill(onScreen(part), area.x, area.y, palette::pixelOf(color));
    };
    draw({0, 0, screen_.width, screen_.height}, background_);
    for (const Window& window : windows_) {
        if (window.isMapped && !without.contains(window.id))
            draw(window.area, window.color);
    }
    for (const Area& clock : clockAreas())
        draw(clock, palette::clock(time_));
    return picture;
}

Picture Scene::alone(const Area& area, xcb_window_t window) const {
    Picture picture(area.width, area.height);
    if (const Window* const found = find(window); found != nullptr && found->isMapped)
        picture.fill(found->area, area.x, area.y, palette::pixelOf(found->color));
    return picture;
}

unsigned Scene::mostRed(const std::set<xcb_window_t>& without) const {
    unsigned most = 0;
    for (const auto* const list : {&windows_, &closed_}) {
        for (const Window& window : *list) {
            if (!without.contains(window.id))
                most = std::max<unsigned>(most, window.color.red);
        }
    }
    return most;
}
