#include "frame_path_scene.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <random>
#include <stdexcept>

#include "frame_path_board.h"

namespace qor::bench {

namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;
constexpr int64_t kNsPerMs = 1'000'000;
constexpr int kChangesPerSecond = 30;
constexpr int kChangesPerSweep = 50;
constexpr int64_t kRestNs = 5 * kNsPerMs;
constexpr uint32_t kRowsBytesPerRequest = 1U << 17;  // less than any server takes

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// Of a window, in its own coordinates.
Part inItself(const Part& window) {
    return {0, 0, window.width, window.height};
}

void sleepUntil(int64_t timeNs) {
    const timespec time{timeNs / kNsPerSecond, timeNs % kNsPerSecond};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr);
}

// One client of the server, with a window as large as the screen under all others.
class Scene {
  public:
    explicit Scene(SharedBoard<SceneBoard>& board);

    void run();

  private:
    xcb_pixmap_t makePixmap(Size size, uint32_t seed);
    xcb_window_t open(const Part& part, uint32_t attribute, uint32_t value);
    // What lies in the pixmap at `from` onto the window at `to`.
    void copy(xcb_pixmap_t pixmap, xcb_window_t window, const Part& from, const Part& to);

    void openOthers();
    void change(uint32_t number);
    void moveSquare(uint32_t number);
    void moveBeneath(uint32_t number);
    void showNumber(uint32_t number);
    void makeChange();
    void rest();
    void roundTrip();
    int64_t untilNextChange();
    Part wholeScreen() const { return {0, 0, plan_.screen.width, plan_.screen.height}; }

    SharedBoard<SceneBoard>& board_;
    const ScenePlan plan_;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_;
    xcb_gcontext_t context_;
    xcb_window_t desktop_ = 0;
    xcb_window_t beneath_ = 0;
    xcb_pixmap_t square_ = 0;
    std::vector<xcb_pixmap_t> pictures_;        // of the whole screen
    std::vector<xcb_pixmap_t> singlePictures_;  // of the single window
    std::minstd_rand times_{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same for every run
};

Scene::Scene(SharedBoard<SceneBoard>& board)
    : board_(board), plan_(board->plan), connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0) {
        throw std::runtime_error("no display");
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
    context_ = xcb_generate_id(connection_.get());
    // Copies from pixmaps expose nothing, and nobody reads the events that say so.
    const uint32_t noExposures = 0;
    xcb_create_gc(connection_.get(), context_, screen_->root, XCB_GC_GRAPHICS_EXPOSURES,
                  &noExposures);
    const bool isFull = plan_.kind == SceneKind::full;
    for (uint32_t n = 0; n < (isFull ? kPictures : 1U); ++n) {
        pictures_.push_back(makePixmap(plan_.screen, screenSeed(n)));
    }
    desktop_ = open(wholeScreen(), XCB_CW_BACK_PIXMAP, pictures_.front());
    openOthers();
    change(0);
    roundTrip();
    board_->isReady = true;
}

void Scene::openOthers() {
    switch (plan_.kind) {
        case SceneKind::still:
        case SceneKind::full:
            break;
        case SceneKind::moving:
            square_ = makePixmap({kSquareSide, kSquareSide}, kSquareSeed);
            break;
        case SceneKind::twoAndMoving:
            beneath_ = open(beneathAfter(0), XCB_CW_BACK_PIXEL, kBeneathColour);
            [[fallthrough]];
        case SceneKind::twoWindows:
            for (size_t i = 0; i < std::size(kOnTop); ++i) {
                board_->onTop[i] = open(kOnTop[i], XCB_CW_BACK_PIXEL, kOnTopColours[i]);
            }
            break;
        case SceneKind::singleStill:
        case SceneKind::singleChanging:
            for (uint32_t n = 0; n < kPictures; ++n) {
                singlePictures_.push_back(
                    makePixmap({kSingle.width, kSingle.height}, singleSeed(n)));
            }
            board_->single = open(kSingle, XCB_CW_BACK_PIXMAP, singlePictures_.front());
            break;
    }
}

// In strips: a picture of a large screen is larger than a request may be.
xcb_pixmap_t Scene::makePixmap(Size size, uint32_t seed) {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_.get());
    const auto width = static_cast<uint16_t>(size.width);
    xcb_create_pixmap(connection_.get(), screen_->root_depth, pixmap, screen_->root, width,
                      static_cast<uint16_t>(size.height));
    const Picture picture = makePicture(size, seed);
    const int rows = std::max(1, static_cast<int>(kRowsBytesPerRequest / size.rowBytes()));
    for (int y = 0; y < size.height; y += rows) {
        const int count = std::min(rows, size.height - y);
        const uint32_t* const first =
            picture.data() + static_cast<size_t>(y) * static_cast<size_t>(size.width);
        xcb_put_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context_, width,
                      static_cast<uint16_t>(count), 0, static_cast<int16_t>(y), 0,
                      screen_->root_depth,
                      static_cast<uint32_t>(size.rowBytes() * static_cast<size_t>(count)),
                      reinterpret_cast<const uint8_t*>(first));
    }
    return pixmap;
}

// The server itself paints what comes to light again: the background, a pixmap or a colour.
xcb_window_t Scene::open(const Part& part, uint32_t attribute, uint32_t value) {
    const xcb_window_t window = xcb_generate_id(connection_.get());
    const uint32_t values[] = {value, 1};
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, screen_->root,
                      static_cast<int16_t>(part.x), static_cast<int16_t>(part.y),
                      static_cast<uint16_t>(part.width), static_cast<uint16_t>(part.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      attribute | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection_.get(), window);
    return window;
}

void Scene::copy(xcb_pixmap_t pixmap, xcb_window_t window, const Part& from, const Part& to) {
    xcb_copy_area(connection_.get(), pixmap, window, context_, static_cast<int16_t>(from.x),
                  static_cast<int16_t>(from.y), static_cast<int16_t>(to.x),
                  static_cast<int16_t>(to.y), static_cast<uint16_t>(to.width),
                  static_cast<uint16_t>(to.height));
}

void Scene::change(uint32_t number) {
    switch (plan_.kind) {
        case SceneKind::moving:
            moveSquare(number);
            break;
        case SceneKind::full:
            copy(pictures_[number % kPictures], desktop_, wholeScreen(), wholeScreen());
            break;
        case SceneKind::twoAndMoving:
            moveBeneath(number);
            break;
        case SceneKind::singleChanging:
            copy(singlePictures_[number % kPictures], board_->single, {}, inItself(kSingle));
            break;
        default:
            break;
    }
    if (plan_.isNumbered) {
        showNumber(number);
    }
}

void Scene::moveSquare(uint32_t number) {
    if (number > 0) {
        const Part before = squareAfter(number - 1, plan_.screen);
        copy(pictures_.front(), desktop_, before, before);
    }
    copy(square_, desktop_, {}, squareAfter(number, plan_.screen));
}

void Scene::moveBeneath(uint32_t number) {
    const Part part = beneathAfter(number);
    const int32_t place[] = {part.x, part.y};
    xcb_configure_window(connection_.get(), beneath_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         place);
}

void Scene::showNumber(uint32_t number) {
    const uint32_t colour = colourOfNumber(number);
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t corner{0, 0, kNumberSide, kNumberSide};
    xcb_poly_fill_rectangle(connection_.get(), desktop_, context_, 1, &corner);
}

// Until the server has done what it was asked for.
void Scene::roundTrip() {
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()),
                                  nullptr),
        &std::free);
    if (reply == nullptr) {
        throw std::runtime_error("the server is gone");
    }
}

void Scene::makeChange() {
    const uint32_t number = board_->changes + 1;
    change(number);
    roundTrip();
    board_->carried[number % SceneBoard::kKept] = nowNs();
    board_->changes = number;
}

// What a grab costs depends on how long ago the picture was drawn, as it may still be in a cache.
// Takers that keep 30 frames a second would meet an even scene at the same distance all through a
// run, another one in the next. So the scene is a fiftieth slower for fifty changes, then as much
// faster, and meets them at all distances.
int64_t Scene::untilNextChange() {
    if (plan_.isNumbered) {
        return std::uniform_int_distribution<int64_t>(60, 140)(times_) * kNsPerMs;
    }
    constexpr int64_t kPeriodNs = kNsPerSecond / kChangesPerSecond;
    const bool isSlower = board_->changes / uint32_t{kChangesPerSweep} % 2 == 0;
    return kPeriodNs + (isSlower ? kPeriodNs : -kPeriodNs) / kChangesPerSweep;
}

void Scene::rest() {
    board_->isResting = true;
    while (board_->changes >= board_->goal) {
        sleepUntil(nowNs() + kRestNs);
    }
    board_->isResting = false;
}

void Scene::run() {
    int64_t next = nowNs();
    while (true) {
        if (board_->changes >= board_->goal) {
            rest();
            next = nowNs();
        }
        makeChange();
        // A scene that is late goes on from now rather than making up for it in a burst.
        next = std::max(next + untilNextChange(), nowNs());
        sleepUntil(next);
    }
}

}  // namespace

int runScene(const char* boardDescriptor) {
    try {
        SharedBoard<SceneBoard> board = SharedBoard<SceneBoard>::inherited(boardDescriptor);
        Scene(board).run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scene: %s\n", error.what());
        return 1;
    }
}

}  // namespace qor::bench
