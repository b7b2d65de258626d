/* A desktop of a few windows on a display server of its own. */
#include <cstdlib>
#include <string>

#include "stage.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

constexpr Color kBackground{30, 40, 90};
constexpr Color kPlain{20, 200, 60};
constexpr Color kSecret{250, 0, 0};

class X11Stage final : public Stage {
  public:
    X11Stage() {
        setenv("DISPLAY", server_.display().c_str(), 1);
        // Where the X client library has to make up the name of this file, it does so as the first
        // of threads comes to it.
        setenv("XAUTHORITY", "/dev/null", 1);
        client_.sync();
    }

    std::uint32_t plainWindow() const override { return plain_; }
    std::uint32_t secretWindow() const override { return secret_; }

    /* In the process that captures, only this is called: it may not talk for another's client. */
    void enter() override { own_ = std::make_unique<WindowClient>(server_.display()); }

    void renew() override { time_ = static_cast<std::uint8_t>(time_ + 1); }
    void paint() override {
        own_->fill(clock_, {0, 0, 40, 40}, {0, 0, time_});
        own_->sync();
    }

    bool isOfNow(const Frame& frame) const override {
        return pixelAt(frame, 300, 220) == Color{0, 0, time_};
    }
    bool showsPlain(const Frame& frame) const override { return pixelAt(frame, 50, 40) == kPlain; }
    bool showsSecret(const Frame& frame) const override {
        return pixelAt(frame, 140, 100) == kSecret;
    }

  private:
    /* At a place of the screen, whatever the frame's size. */
    static Color pixelAt(const Frame& frame, std::uint32_t x, std::uint32_t y) {
        const std::size_t column = x * frame.width / kWidth;
        const std::size_t row = y * frame.height / kHeight;
        const std::uint8_t* pixel = &frame.bytes[(row * frame.width + column) * 4];
        return {pixel[2], pixel[1], pixel[0]};
    }

    XvfbServer server_{"320x240x24"};
    WindowClient client_{server_.display()};
    std::unique_ptr<WindowClient> own_;
    xcb_window_t backdrop_ =
        client_.open({.area = {0, 0, 320, 240}, .color = kBackground, .isOverrideRedirect = true});
    xcb_window_t plain_ =
        client_.open({.area = {10, 10, 80, 60}, .color = kPlain, .isOverrideRedirect = true});
    xcb_window_t secret_ =
        client_.open({.area = {100, 70, 80, 60}, .color = kSecret, .isOverrideRedirect = true});
    xcb_window_t clock_ = client_.open({.area = {280, 200, 40, 40}, .isOverrideRedirect = true});
    std::uint8_t time_ = 0;
};

}  // namespace

std::unique_ptr<Stage> makeStage() {
    return std::make_unique<X11Stage>();
}
