/*
 * What the tests of 'capmgr view' share: a screen with one window, a viewer on it that is used by
 * the keyboard, and eyes for what it shows.
 *
 * The viewer's window covers the window in part; there is no window manager.
 */
#ifndef TESTS_TOOLS_VIEW_FIXTURE_H
#define TESTS_TOOLS_VIEW_FIXTURE_H

#include <memory>
#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "window_client.h"
#include "xvfb_server.h"

/* A running viewer, and the states that it tells. */
class ViewerProgram {
  public:
    explicit ViewerProgram(const ChildSetup& setup) : child_(setup) {}

    /* True once a state comes, later than all that were awaited before, that has this value. */
    bool awaitState(const std::string& name, const nlohmann::json& value);

    /* The state that was awaited last. */
    const nlohmann::json& state() const { return state_; }

    ChildProcess& process() { return child_; }

  private:
    ChildProcess child_;
    nlohmann::json state_;
    std::size_t told_ = 0;  // states awaited so far
};

class ViewTest : public CapmgrTest {
  protected:
    static constexpr Color kScreen{200, 200, 200};
    static constexpr Color kWindow{20, 160, 60};
    static constexpr Area kArea{40, 300, 120, 100};

    ViewTest();

    /* 'capmgr view' with the states told. */
    ChildSetup view(const std::vector<std::string>& arguments = {}) const;

    /* Starts it and waits for its picture. */
    void start(const std::vector<std::string>& arguments = {});

    /* Types a key, named as by xdotool, with the pointer in the viewer's window. */
    void type(const std::string& key) const;

    /* True once the picture has a colour where a point of the monitor is. */
    bool awaitColor(std::int16_t x, std::int16_t y, Color color) const;
    bool awaitWindow() const { return awaitColor(kArea.x + 60, kArea.y + 50, kWindow); }
    bool awaitNoWindow() const { return awaitColor(kArea.x + 60, kArea.y + 50, kScreen); }

    std::uint32_t ownWindow() const { return viewer->state().at("own_window"); }

    /* Of the viewer that is started: drawn without a graphics driver, of which there may be none.
     */
    std::vector<std::string> environment{"SDL_VIDEODRIVER=x11", "SDL_RENDER_DRIVER=software",
                                         "SDL_FRAMEBUFFER_ACCELERATION=0"};

    std::unique_ptr<XvfbServer> server = std::make_unique<XvfbServer>("640x480x24");  // reset: gone
    std::unique_ptr<WindowClient> client = std::make_unique<WindowClient>(server->display());
    xcb_window_t window = 0;
    std::unique_ptr<ViewerProgram> viewer;
};

#endif
