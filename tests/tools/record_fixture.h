#ifndef TESTS_TOOLS_RECORD_FIXTURE_H
#define TESTS_TOOLS_RECORD_FIXTURE_H

#include <algorithm>
#include <vector>

#include "capmgr_fixture.h"
#include "video.h"
#include "window_client.h"
#include "xvfb_server.h"

inline constexpr Color kRed{200, 10, 20};
inline constexpr Color kGreen{30, 180, 40};
inline constexpr Color kBlack{0, 0, 0};

/* A small screen that stands still, with a red window and, over its right half, a green one. */
class RecordTest : public CapmgrTest {
  protected:
    RecordTest() { client.sync(); }

    ChildResult record(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "record");
        return runCapmgr(server.display(), arguments);
    }

    const XvfbServer server{"320x240x24"};
    const WindowClient client{server.display()};
    const xcb_window_t red = client.open({.area = {20, 20, 200, 100}, .color = kRed});
    const xcb_window_t green = client.open({.area = {120, 20, 180, 100}, .color = kGreen});
};

#endif
