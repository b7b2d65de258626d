#include "viewer_window.h"

#include <fmt/format.h>
#include <pthread.h>

#include <algorithm>

#include "failure.h"
#include "viewer_platform.h"

namespace {

constexpr int kBytesPerPixel = 4;

// The part of the screen that a new window takes up at most.
constexpr double kMostOfScreen = 0.8;

// Small enough for any screen; the texts still go in.
constexpr int kLeastWidth = 240;
constexpr int kLeastHeight = 180;

struct Size {
    int width;
    int height;
};

Size scaled(Size size, double factor) {
    return {std::max(static_cast<int>(size.width * factor), 1),
            std::max(static_cast<int>(size.height * factor), 1)};
}

/* By how much a picture is to be scaled to go in. */
double fit(Size picture, Size room) {
    return std::min(static_cast<double>(room.width) / picture.width,
                    static_cast<double>(room.height) / picture.height);
}

/* Never larger than the picture itself. */
Size firstSize(Size picture) {
    SDL_Rect room{};
    if (SDL_GetDisplayUsableBounds(0, &room) != 0) {
        return picture;
    }
    const Size most = scaled({room.w, room.h}, kMostOfScreen);
    return scaled(picture, std::min(fit(picture, most), 1.0));
}

SDL_Rect centred(Size picture, Size room) {
    const Size size = scaled(picture, fit(picture, room));
    return {(room.width - size.width) / 2, (room.height - size.height) / 2, size.width,
            size.height};
}

SDL_Renderer* makeRenderer(SDL_Window* window) {
    SDL_Renderer* const renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_ACCELERATED);
    return renderer != nullptr ? renderer : SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE);
}

}  // namespace

ViewerWindow::Library::Library() {
    // This is a guest on the desktop that it shows, and the program takes its signals itself.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_VIDEO_MINIMIZE_ON_FOCUS_LOSS, "0");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        throw Failure(fmt::format("cannot open a window: {}", SDL_GetError()));
    }
    endWhenServerIsLost();
}

ViewerWindow::Library::~Library() {
    SDL_Quit();
}

ViewerWindow::ViewerWindow(const std::string& title, CAP_SIZE picture, Console& errors) {
    const Size size =
        firstSize({static_cast<int>(picture.dwWidth), static_cast<int>(picture.dwHeight)});
    window_.reset(SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                                   std::max(size.width, kLeastWidth),
                                   std::max(size.height, kLeastHeight),
                                   SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI));
    if (window_ == nullptr) {
        throw Failure(fmt::format("cannot open a window: {}", SDL_GetError()));
    }
    SDL_SetWindowMinimumSize(window_.get(), kLeastWidth, kLeastHeight);
    renderer_.reset(makeRenderer(window_.get()));
    if (renderer_ == nullptr) {
        throw Failure(fmt::format("cannot draw in a window: {}", SDL_GetError()));
    }
    overlay_.emplace(renderer_.get(), errors);
    wakeEvent_ = SDL_RegisterEvents(1);
}

std::optional<SDL_Event> ViewerWindow::await(Clock::time_point deadline) {
    using std::chrono::milliseconds;
    const auto left = std::max(deadline - Clock::now(), Clock::duration::zero());
    const auto wait = std::chrono::ceil<milliseconds>(left).count();
    SDL_Event event;
    if (SDL_WaitEventTimeout(&event, static_cast<int>(wait)) == 0) {
        return std::nullopt;
    }
    if (event.type == wakeEvent_) {
        isAwake_ = false;
    }
    return event;
}

// A capture thread that hangs may be cancelled, but not in the midst of the window library, which
// would be left locked.
void ViewerWindow::wake() {
    if (isAwake_.exchange(true)) {
        return;
    }
    int state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    SDL_Event event{};
    event.type = wakeEvent_;
    if (SDL_PushEvent(&event) != 1) {
        isAwake_ = false;
    }
    pthread_setcancelstate(state, nullptr);
}

// From the host's copy and not from the locked frame: the library's capture thread must not wait
// for a graphics driver, and what was read may turn out to be no frame to show.
void ViewerWindow::setPicture(const Frame& frame) {
    const SDL_Point size{static_cast<int>(frame.width), static_cast<int>(frame.height)};
    if (picture_ == nullptr || size.x != pictureSize_.x || size.y != pictureSize_.y) {
        makeTexture(frame);
        pictureSize_ = size;
    }
    SDL_UpdateTexture(picture_.get(), nullptr, frame.pixels.data(), size.x * kBytesPerPixel);
}

void ViewerWindow::makeTexture(const Frame& frame) {
    // Without alpha: what the display server leaves in the fourth byte means nothing.
    picture_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_RGB888,
                                     SDL_TEXTUREACCESS_STREAMING, static_cast<int>(frame.width),
                                     static_cast<int>(frame.height)));
    if (picture_ == nullptr) {
        throw Failure(fmt::format("cannot show a picture of {}x{}: {}", frame.width, frame.height,
                                  SDL_GetError()));
    }
}

void ViewerWindow::setTitle(const std::string& title) {
    SDL_SetWindowTitle(window_.get(), title.c_str());
}

void ViewerWindow::setFullscreen(bool wanted) {
    const Uint32 mode = wanted ? Uint32{SDL_WINDOW_FULLSCREEN_DESKTOP} : 0U;
    SDL_SetWindowFullscreen(window_.get(), mode);
}

void ViewerWindow::draw() {
    Size room{};
    SDL_GetRendererOutputSize(renderer_.get(), &room.width, &room.height);
    SDL_SetRenderDrawColor(renderer_.get(), 0, 0, 0, SDL_ALPHA_OPAQUE);
    SDL_RenderClear(renderer_.get());
    if (picture_ != nullptr) {
        const SDL_Rect place = centred({pictureSize_.x, pictureSize_.y}, room);
        SDL_RenderCopy(renderer_.get(), picture_.get(), nullptr, &place);
    }
    overlay_->draw(room.width, room.height);
    SDL_RenderPresent(renderer_.get());
}

std::optional<std::uint32_t> ViewerWindow::number() const {
    return windowNumber(window_.get());
}
