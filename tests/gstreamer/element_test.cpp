#include "element_test.h"

#include <cstdlib>

namespace {

/* Plugins are known from a list of the build tree's own, which leaves the user's alone. */
class WithPlugin : public testing::Environment {
    void SetUp() override {
        setenv("GST_REGISTRY", GSTREAMER_REGISTRY, 1);
        setenv("GST_PLUGIN_PATH", GSTREAMER_PLUGINS, 1);
        gst_init(nullptr, nullptr);
    }
};

[[maybe_unused]] const testing::Environment* const withPlugin =
    testing::AddGlobalTestEnvironment(new WithPlugin);

}  // namespace

void useDisplay(const std::string& display) {
    if (display.empty()) {
        unsetenv("DISPLAY");
    } else {
        setenv("DISPLAY", display.c_str(), 1);
    }
}

ElementTest::ElementTest() {
    useDisplay(display_);
}

xcb_window_t ElementTest::openWindow(Color color) const {
    const xcb_window_t window = painter_.openWindow(kWindowArea, color);
    painter_.sync();
    return window;
}
