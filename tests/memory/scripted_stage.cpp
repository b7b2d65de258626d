/* One display of the scripted platform. Its pictures do not tell of windows. */
#include <algorithm>

#include "require.h"
#include "scripted_platform.h"
#include "shortage.h"
#include "stage.h"

namespace {

class ScriptedStage final : public Stage {
  public:
    void enter() override {
        scripted::reset();
        scripted::Display display = scripted::makeDisplay(7, 0, 0, kWidth, kHeight);
        display.main = true;
        scripted::plugIn(display);
        scripted::showWindows({plainWindow(), secretWindow()});
        scripted::watchWork(shortage::exempt);  // what the platform allocates is not the library's
    }

    std::uint32_t plainWindow() const override { return 31; }
    std::uint32_t secretWindow() const override { return 32; }

    bool showsPlain(const Frame& frame) const override {
        return std::ranges::any_of(frame.bytes, [](std::uint8_t byte) { return byte != 0; });
    }
    bool showsSecret(const Frame&) const override { return false; }

    bool hang() override {
        scripted::hang("CGWindowListCreateImage", false);
        return true;
    }
    bool awaitHang() override { return scripted::awaitHang(); }
    void letGo() override { scripted::letGo(); }

    void check() override {
        require(scripted::faults().empty(), "the platform is used as it is to be");
        require(scripted::leaks().empty(), "all of the platform's objects are released");
    }
};

}  // namespace

std::unique_ptr<Stage> makeStage() {
    return std::make_unique<ScriptedStage>();
}
