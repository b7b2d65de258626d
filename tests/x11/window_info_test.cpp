/* Which windows are told of, where they are and what they are. */
#include "window_info.h"

#include <csignal>
#include <stop_token>
#include <thread>

#include "desktop_session.h"

namespace {

void expectBounds(const CGRect& bounds, double x, double y, double width, double height) {
    EXPECT_EQ(bounds.origin.x, x);
    EXPECT_EQ(bounds.origin.y, y);
    EXPECT_EQ(bounds.size.width, width);
    EXPECT_EQ(bounds.size.height, height);
}

class WindowInfoTest : public WindowTest {
  protected:
    static constexpr Area kArea{10, 20, 50, 40};

    /* A window without a word about itself. */
    xcb_window_t openPlain() const { return open({.area = kArea}); }
};

TEST_F(WindowInfoTest, EmptyScreenGivesAnEmptyList) {
    EXPECT_TRUE(windowInfos().empty());
}

TEST_F(WindowInfoTest, TellsOfTheListedWindowsInTheirOrder) {
    const xcb_window_t lowest = openPlain();
    const xcb_window_t menu = open({.area = kArea, .isOverrideRedirect = true});
    const xcb_window_t hidden = openPlain();
    open({.area = kArea, .isInputOnly = true});
    client().raise(lowest);
    client().unmap(hidden);
    client().sync();
    EXPECT_EQ(numbersOf(windowInfos()), (Windows{lowest, menu}));
    EXPECT_EQ(numbersOf(windowInfos()), windowsOnScreen());
}

TEST_F(WindowInfoTest, WindowWithoutAWordHasAllThatIsAlwaysThere) {
    const xcb_window_t window = openPlain();
    const Owned<const __CFArray> list(copyInfos());
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(CFArrayGetCount(list.get()), 1);
    const auto* info = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(list.get(), 0));
    const WindowInfo read = infoFrom(info);
    EXPECT_EQ(read.number, window);
    EXPECT_EQ(read.layer, 0);
    EXPECT_EQ(read.alpha, 1);
    EXPECT_EQ(read.processId, 0);
    EXPECT_EQ(numberUnder<int>(info, kCGWindowStoreType, kCFNumberSInt32Type),
              static_cast<int>(kCGBackingStoreNonretained));
    EXPECT_EQ(numberUnder<int>(info, kCGWindowSharingState, kCFNumberSInt32Type),
              static_cast<int>(kCGWindowSharingReadWrite));
    EXPECT_EQ(numberUnder<long long>(info, kCGWindowMemoryUsage, kCFNumberLongLongType),
              50 * 40 * 4);
    EXPECT_EQ(CFDictionaryGetValue(info, kCGWindowIsOnscreen), kCFBooleanTrue);
    EXPECT_EQ(read.owner, std::nullopt);
    EXPECT_EQ(read.title, std::nullopt);
}

TEST_F(WindowInfoTest, KeysAreWhatTheyAreCalled) {
    EXPECT_EQ(text(kCGWindowNumber), "kCGWindowNumber");
    EXPECT_EQ(text(kCGWindowStoreType), "kCGWindowStoreType");
    EXPECT_EQ(text(kCGWindowLayer), "kCGWindowLayer");
    EXPECT_EQ(text(kCGWindowBounds), "kCGWindowBounds");
    EXPECT_EQ(text(kCGWindowSharingState), "kCGWindowSharingState");
    EXPECT_EQ(text(kCGWindowAlpha), "kCGWindowAlpha");
    EXPECT_EQ(text(kCGWindowOwnerPID), "kCGWindowOwnerPID");
    EXPECT_EQ(text(kCGWindowMemoryUsage), "kCGWindowMemoryUsage");
    EXPECT_EQ(text(kCGWindowOwnerName), "kCGWindowOwnerName");
    EXPECT_EQ(text(kCGWindowName), "kCGWindowName");
    EXPECT_EQ(text(kCGWindowIsOnscreen), "kCGWindowIsOnscreen");
}

TEST_F(WindowInfoTest, BoundsReachFromBorderToBorderAndPastTheScreen) {
    const xcb_window_t window = open({.area = {-30, 190, 50, 40}, .border = 3});
    expectBounds(infoOf(window).bounds, -30, 190, 56, 46);
}

TEST_F(WindowInfoTest, FramedWindowIsToldOfWithItsFramesBoundsAndOpacity) {
    const xcb_window_t frame = client().create({.area = {5, 6, 100, 90}});
    const xcb_window_t window = client().open({.area = {4, 20, 92, 66}, .parent = frame});
    client().setManaged(window);
    client().setTitle(window, "in a frame");
    client().setTitle(frame, "the frame");
    client().setOpacity(frame, 0.5);
    client().map(frame);
    client().sync();
    const WindowInfo info = infoOf(window);
    expectBounds(info.bounds, 5, 6, 100, 90);
    EXPECT_EQ(info.title, "in a frame");
    EXPECT_NEAR(info.alpha, 0.5, 1e-6);
}

TEST_F(WindowInfoTest, WindowWhoseFrameHasNoOpacityHasItsOwn) {
    const xcb_window_t frame = client().create({.area = kArea});
    const xcb_window_t window = client().open({.area = {4, 4, 9, 9}, .parent = frame});
    client().setManaged(window);
    client().setOpacity(window, 0.75);
    client().map(frame);
    client().sync();
    EXPECT_NEAR(infoOf(window).alpha, 0.75, 1e-6);
}

TEST_F(WindowInfoTest, FrameIsNotToldOfBeforeItsWindowIs) {
    const WindowClient manager(server().display());
    const xcb_window_t check = manager.create({.area = kArea});
    manager.setRootProperty("_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, check);
    const xcb_window_t frame = manager.open({.area = kArea});
    manager.sync();
    const xcb_window_t window = client().open({.area = {4, 4, 9, 9}, .parent = frame});
    client().sync();
    EXPECT_EQ(numbersOf(windowInfos()), Windows{});
    manager.setManaged(window);
    manager.sync();
    EXPECT_EQ(numbersOf(windowInfos()), Windows{window});
}

TEST_F(WindowInfoTest, OpacityIsTheOneThatWasAskedFor) {
    const xcb_window_t window = openPlain();
    client().setOpacity(window, 0.25);
    client().sync();
    EXPECT_NEAR(infoOf(window).alpha, 0.25, 1e-6);
}

struct Role {
    const char* name;
    std::vector<const char*> types;
    std::vector<const char*> states;
    bool isOverrideRedirect;
    int layer;
};

void PrintTo(const Role& role, std::ostream* stream) {
    *stream << role.name;
}

class WindowLayerTest : public WindowTest, public testing::WithParamInterface<Role> {};

TEST_P(WindowLayerTest, SaysWhatTheWindowIs) {
    const Role& role = GetParam();
    const xcb_window_t window =
        client().open({.area = {0, 0, 9, 9}, .isOverrideRedirect = role.isOverrideRedirect});
    if (!role.types.empty())
        client().setTypes(window, role.types);
    client().setStates(window, role.states);
    client().sync();
    EXPECT_EQ(infoOf(window).layer, role.layer);
}

constexpr const char* kNormalType = "_NET_WM_WINDOW_TYPE_NORMAL";
constexpr const char* kDockType = "_NET_WM_WINDOW_TYPE_DOCK";
constexpr const char* kAboveState = "_NET_WM_STATE_ABOVE";

INSTANTIATE_TEST_SUITE_P(
    Roles, WindowLayerTest,
    testing::Values(Role{"Plain", {}, {}, false, 0}, Role{"Normal", {kNormalType}, {}, false, 0},
                    Role{"Dialog", {"_NET_WM_WINDOW_TYPE_DIALOG"}, {}, false, 0},
                    Role{"Above", {}, {"_NET_WM_STATE_STICKY", kAboveState}, false, 3},
                    Role{"Utility", {"_NET_WM_WINDOW_TYPE_UTILITY"}, {}, false, 3},
                    Role{"Toolbar", {"_NET_WM_WINDOW_TYPE_TOOLBAR"}, {}, false, 3},
                    Role{"TornOffMenu", {"_NET_WM_WINDOW_TYPE_MENU"}, {}, false, 3},
                    Role{"Dock", {kDockType}, {}, false, 20},
                    Role{"DockAbove", {kDockType}, {kAboveState}, false, 20},
                    Role{"DockToItself", {kDockType}, {}, true, 20},
                    Role{"PopupMenu", {"_NET_WM_WINDOW_TYPE_POPUP_MENU"}, {}, false, 101},
                    Role{"Tooltip", {"_NET_WM_WINDOW_TYPE_TOOLTIP"}, {}, false, 101},
                    Role{"Notice", {"_NET_WM_WINDOW_TYPE_NOTIFICATION"}, {}, false, 101},
                    Role{"Unmanaged", {}, {}, true, 101},
                    Role{"UnmanagedNormal", {kNormalType}, {}, true, 101},
                    Role{"Desktop", {"_NET_WM_WINDOW_TYPE_DESKTOP"}, {}, false, -2147483623},
                    Role{"KnownTypeBehindAnother", {"_OTHER_TYPE", kDockType}, {}, false, 20},
                    Role{"UnknownType", {"_OTHER_TYPE"}, {}, false, 0}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(WindowInfoTest, CrowdOfWindowsIsToldOfWhole) {
    constexpr int kMany = 700;  // more than are asked about at once
    Windows opened;
    for (int i = 0; i < kMany; ++i) {
        opened.push_back(client().open({.area = {0, 0, 9, 9}}));
        client().setTitle(opened.back(), std::to_string(i));
    }
    client().sync();
    const std::vector<WindowInfo> infos = windowInfos();
    ASSERT_EQ(numbersOf(infos), Windows(opened.rbegin(), opened.rend()));
    for (int i = 0; i < kMany; ++i)
        EXPECT_EQ(infos[static_cast<std::size_t>(kMany - 1 - i)].title, std::to_string(i));
}

TEST_F(WindowInfoTest, WindowsThatComeAndGoAreToldOfOrNot) {
    const xcb_window_t window = openPlain();
    client().setTitle(window, "stays");
    client().sync();
    const std::jthread coming([display = server().display()](const std::stop_token& stop) {
        const WindowClient other(display);
        while (!stop.stop_requested()) {
            const xcb_window_t brief = other.open({.area = kArea});
            other.setTitle(brief, "comes and goes");
            other.destroy(brief);
            other.sync();
        }
    });
    for (int i = 0; i < 300; ++i) {
        const std::vector<WindowInfo> infos = windowInfos();
        ASSERT_GE(infos.size(), 1U);
        ASSERT_EQ(infos.back().number, window);
        ASSERT_EQ(infos.back().title, "stays");
    }
}

TEST_F(WindowInfoTest, ServerThatIsFrozenGivesNoListUntilItGoesOn) {
    const xcb_window_t window = openPlain();
    EXPECT_EQ(numbersOf(windowInfos()), Windows{window});
    kill(server().pid(), SIGSTOP);
    EXPECT_EQ(copyInfos(), nullptr);
    kill(server().pid(), SIGCONT);
    EXPECT_EQ(numbersOf(windowInfos()), Windows{window});
}

TEST_F(WindowInfoTest, ThereIsNoListWithoutAServer) {
    server_.reset();
    useDisplay("");  // another test's server may take the number over
    EXPECT_EQ(copyInfos(), nullptr);
}

TEST_F(WindowInfoTest, OtherListsAreRefused) {
    const xcb_window_t window = openPlain();
    EXPECT_EQ(CGWindowListCopyWindowInfo(kCGWindowListOptionAll, kCGNullWindowID), nullptr);
    EXPECT_EQ(CGWindowListCopyWindowInfo(kCGWindowListOptionIncludingWindow, window), nullptr);
    EXPECT_EQ(CGWindowListCopyWindowInfo(kCGWindowListOptionOnScreenOnly, window), nullptr);
}

class ManagedWindowInfoTest : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        desktop_ = std::make_unique<DesktopSession>(server().display());
        desktop_->startWindowManager();
    }
    void TearDown() override { desktop_.reset(); }

    xcb_window_t openTerminal(const char* title) const {
        return desktop_->startClient({"xterm", "-title", title, "-geometry", "20x4"});
    }

    /* The window manager's own list, front to back. */
    Windows stacking() const {
        const auto numbers = client().numbersIn(client().root(), "_NET_CLIENT_LIST_STACKING");
        return {numbers.rbegin(), numbers.rend()};
    }

    std::unique_ptr<DesktopSession> desktop_;
};

TEST_F(ManagedWindowInfoTest, ListIsTheWindowManagersStacking) {
    const xcb_window_t first = openTerminal("first");
    const xcb_window_t second = openTerminal("second");
    const xcb_window_t third = openTerminal("third");
    client().raise(first);
    client().sync();
    desktop_->settle();
    ASSERT_EQ(stacking(), (Windows{first, third, second}));
    std::vector<WindowInfo> infos = windowInfos();
    std::erase_if(infos, [](const WindowInfo& info) { return info.layer != 0; });  // its own window
    EXPECT_EQ(numbersOf(infos), stacking());
}

TEST_F(ManagedWindowInfoTest, TerminalIsToldOfWithItsNamesAndProcess) {
    const xcb_window_t terminal = openTerminal("a terminal");
    const auto processId = client().numbersIn(terminal, "_NET_WM_PID");
    const WindowInfo info = infoOf(terminal);
    EXPECT_EQ(info.owner, "XTerm");
    EXPECT_EQ(info.title, "a terminal");
    EXPECT_EQ(info.layer, 0);
    ASSERT_EQ(processId.size(), 1U);
    EXPECT_EQ(info.processId, static_cast<int>(processId[0]));
}

TEST_F(ManagedWindowInfoTest, BoundsAreThoseOfTheManagersFrame) {
    const xcb_window_t window = client().create({.area = {0, 0, 80, 50}, .color = kRed});
    client().map(window);
    client().sync();
    desktop_->settle();
    const auto extents = client().numbersIn(window, "_NET_FRAME_EXTENTS");
    ASSERT_EQ(extents.size(), 4U);  // left, right, top, bottom
    const CGRect bounds = infoOf(window).bounds;
    EXPECT_EQ(bounds.size.width, 80 + extents[0] + extents[1]);
    EXPECT_EQ(bounds.size.height, 50 + extents[2] + extents[3]);
    const Image inside = imageOf(bounds.origin.x + extents[0], bounds.origin.y + extents[2], 1, 1);
    const Image left =
        imageOf(bounds.origin.x + extents[0] - 1, bounds.origin.y + extents[2], 1, 1);
    EXPECT_EQ(colorAt(inside, 0, 0), kRed);
    EXPECT_NE(colorAt(left, 0, 0), kRed);
}

}  // namespace
