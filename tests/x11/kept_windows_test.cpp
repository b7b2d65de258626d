/*
 * A thread that takes pictures of windows keeps their list, and yet it is right after each change.
 *
 * It is compared with that of a new thread, which has a connection of its own and keeps nothing.
 */
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <atomic>
#include <future>
#include <optional>
#include <ostream>
#include <semaphore>
#include <thread>

#include "randr_client.h"
#include "window_test.h"
#include "window_tree_client.h"

namespace {

constexpr const char* kCompositor = "_NET_WM_CM_S0";

Windows newThreadsList() {
    return std::async(std::launch::async, windowsOnScreen).get();
}

/* A desktop with a window manager, which has put some windows into frames. */
class KeptWindowsTest : public WindowTest {
  protected:
    static constexpr Area kPlace{40, 30, 100, 80};

    void SetUp() override { setUpDesktop(); }
    void TearDown() override {
        tree_.reset();
        manager_.reset();
    }

    void setUpDesktop() {
        start({});
        manager_ = std::make_unique<WindowClient>(server().display());
        tree_ = std::make_unique<WindowTreeClient>(server().display());
        manager_->setRootProperty("_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW,
                                  manager_->create({.area = {-9, -9, 1, 1}}));
        beneathGuard_ = openManaged({10, 10, 30, 30});
        manager_->open({.area = kScreen, .isOverrideRedirect = true, .isInputOnly = true});
        manager_->sync();
        plain_ = openManaged(kPlace);
        aside_ = openManaged({-70, 20, 50, 50});
        frame_ = manager_->open({.area = kPlace});
        manager_->sync();
        lowerInFrame_ = openManaged({5, 5, 40, 40}, frame_);
        inFrame_ = openManaged({5, 5, 40, 40}, frame_);
        otherFrame_ = manager_->open({.area = {200, 100, 60, 60}});
        manager_->sync();
        unmarked_ = open({.area = {5, 5, 40, 40}, .parent = otherFrame_});
        notMapped_ = client().create({.area = kPlace});
        settle();
    }

    xcb_window_t openManaged(const Area& area, xcb_window_t parent = 0) const {
        const xcb_window_t window = open({.area = area, .parent = parent});
        client().setManaged(window);
        client().sync();
        return window;
    }

    void settle() const {
        client().sync();
        manager_->sync();
        tree_->sync();
    }

    /* The second picture finds all done that the first one had to do. */
    void beginKeeping() const {
        for (int i = 0; i < 2; ++i)
            ASSERT_NE(imageOfWindows(kScreen, {plain_}), nullptr);
        windowsOnScreen();
    }

  public:  // for what is done to them
    const WindowClient& app() const { return client(); }
    const WindowTreeClient& tree() const { return *tree_; }
    std::string display() const { return server().display(); }

    xcb_window_t beneathGuard_ = 0;  // of those that only compositing managers have
    xcb_window_t plain_ = 0;
    xcb_window_t aside_ = 0;  // beside the screen
    xcb_window_t frame_ = 0;
    xcb_window_t lowerInFrame_ = 0;
    xcb_window_t inFrame_ = 0;
    xcb_window_t otherFrame_ = 0;
    xcb_window_t unmarked_ = 0;  // in the other frame
    xcb_window_t notMapped_ = 0;
    std::unique_ptr<WindowClient> manager_;
    std::unique_ptr<WindowTreeClient> tree_;
    std::optional<WindowTreeClient> other_;
};

/* The list that is kept, got while the server answers nobody. */
Windows listWithoutAsking(const XvfbServer& server) {
    const ServerGrab grab(server.display());
    return windowsOnScreen();
}

using Act = void (*)(KeptWindowsTest& test);

struct Deed {
    const char* name;
    Act act;
    Act before = [](KeptWindowsTest&) {};  // the list is kept
};

void PrintTo(const Deed& deed, std::ostream* out) {
    *out << deed.name;
}

void takeSelectionAsAnother(KeptWindowsTest& test) {
    test.other_.emplace(test.display());
    test.other_->takeSelection(kCompositor);
    test.other_->sync();
}

const Deed kDeeds[]{
    {"Mapped", [](auto& t) { t.app().map(t.notMapped_); }},
    {"Unmapped", [](auto& t) { t.app().unmap(t.plain_); }},
    {"MovedOffTheScreen", [](auto& t) { t.app().move(t.plain_, 1000, 0); }},
    {"ResizedOntoTheScreen", [](auto& t) { t.app().resize(t.aside_, 200, 50); }},
    {"Raised", [](auto& t) { t.app().raise(t.plain_); }},
    {"Lowered", [](auto& t) { t.manager_->lower(t.frame_); }},
    {"StackedAboveAnother", [](auto& t) { t.tree().stackAbove(t.plain_, t.frame_); }},
    {"Circulated", [](auto& t) { t.tree().circulate(t.tree().root()); }},
    {"Destroyed", [](auto& t) { t.app().destroy(t.plain_); }},
    {"FrameDestroyed", [](auto& t) { t.manager_->destroy(t.frame_); }},
    {"Created",
     [](auto& t) {
         t.app().open({.area = {1, 1, 9, 9}, .isOverrideRedirect = true});
     }},
    {"PutIntoAFrame", [](auto& t) { t.tree().reparent(t.plain_, t.frame_); }},
    {"TakenOutOfItsFrame", [](auto& t) { t.tree().reparent(t.inFrame_, t.tree().root()); }},
    {"RestackedInItsFrame", [](auto& t) { t.app().raise(t.lowerInFrame_); }},
    {"CirculatedInItsFrame", [](auto& t) { t.tree().circulate(t.frame_); }},
    {"DestroyedInItsFrame", [](auto& t) { t.app().destroy(t.inFrame_); }},
    {"ReplacedInItsFrame",
     [](auto& t) {
         t.app().destroy(t.inFrame_);
         t.app().setManaged(t.app().open({.area = {5, 5, 40, 40}, .parent = t.frame_}));
     }},
    {"Marked", [](auto& t) { t.manager_->setManaged(t.unmarked_); }},
    {"NoLongerMarked", [](auto& t) { t.tree().deleteProperty(t.inFrame_, "WM_STATE"); }},
    {"Iconic", [](auto& t) { t.app().setManaged(t.plain_, WindowClient::Management::iconic); }},
    {"Hidden", [](auto& t) { t.app().setStates(t.plain_, {"_NET_WM_STATE_HIDDEN"}); }},
    {"NoLongerHidden", [](auto& t) { t.tree().deleteProperty(t.plain_, "_NET_WM_STATE"); },
     [](auto& t) { t.app().setStates(t.plain_, {"_NET_WM_STATE_HIDDEN"}); }},
    {"MarkedAsEmbedded", [](auto& t) { t.app().setEmbedded(t.unmarked_); }},
    {"NoLongerMarkedAsEmbedded",
     [](auto& t) { t.tree().deleteProperty(t.unmarked_, "_XEMBED_INFO"); },
     [](auto& t) { t.app().setEmbedded(t.unmarked_); }},
    {"WithoutWindowManager",
     [](auto& t) { t.tree().deleteProperty(t.tree().root(), "_NET_SUPPORTING_WM_CHECK"); }},
    {"WithCompositor", [](auto& t) { t.tree().takeSelection(kCompositor); }},
    {"WithoutCompositor",
     [](auto& t) {
         t.other_->releaseSelection(kCompositor);
         t.other_->sync();
     },
     takeSelectionAsAnother},
    {"WithoutCompositorsWindow",
     [](auto& t) {
         t.other_->destroyOwner();
         t.other_->sync();
     },
     takeSelectionAsAnother},
    {"WithCompositorEnded",
     [](auto& t) {
         t.other_.reset();
         ASSERT_TRUE(eventually([&] { return !t.tree().hasOwner(kCompositor); }));
     },
     takeSelectionAsAnother},
    {"ScreenResized", [](auto& t) { RandrClient(t.display()).setMode(modeOfSize(32, 24)); }},
};

/* Servers without XFIXES may end with a client. While this lives, connections that come to ask for
 * it ask for another name, and are told that there is no such extension. */
class HiddenSelections {
  public:
    HiddenSelections() { xcb_xfixes_id.name = "none of that name"; }
    ~HiddenSelections() { xcb_xfixes_id.name = name_; }
    HiddenSelections(const HiddenSelections&) = delete;
    HiddenSelections& operator=(const HiddenSelections&) = delete;

  private:
    const char* const name_ = xcb_xfixes_id.name;
};

class AfterADeedTest : public KeptWindowsTest, public testing::WithParamInterface<Deed> {
  protected:
    void expectRightList() {
        GetParam().before(*this);
        settle();
        beginKeeping();
        const Windows before = windowsOnScreen();
        GetParam().act(*this);
        settle();
        const Windows after = newThreadsList();
        EXPECT_NE(after, before);
        EXPECT_EQ(windowsOnScreen(), after);
    }
};

TEST_P(AfterADeedTest, ListIsRight) {
    expectRightList();
}

TEST_P(AfterADeedTest, ListIsRightWhereTheServerCannotTellOfSelections) {
    TearDown();
    const HiddenSelections hiddenSelections;
    setUpDesktop();
    expectRightList();
}

INSTANTIATE_TEST_SUITE_P(Deeds, AfterADeedTest, testing::ValuesIn(kDeeds),
                         [](const auto& instance) { return instance.param.name; });

/* What the list does not depend on. */
const Deed kOtherDeeds[]{
    {"None", [](auto&) {}},
    {"Title", [](auto& t) { t.app().setTitle(t.plain_, "another"); }},
    {"UserTime",
     [](auto& t) { t.app().setProperty(t.inFrame_, "_NET_WM_USER_TIME", XCB_ATOM_CARDINAL, {1}); }},
    {"RootProperty", [](auto& t) { t.app().setRootProperty("ANY", XCB_ATOM_WINDOW, 1); }},
    {"Opacity", [](auto& t) { t.app().setOpacity(t.plain_, 0.5); }},
    {"Shape",
     [](auto& t) {
         t.app().setShape(t.plain_, {{0, 0, 9, 9}});
     }},
    {"Content",
     [](auto& t) {
         t.app().fill(t.plain_, {0, 0, 9, 9}, {1, 2, 3});
     }},
    {"PartOfAWindow",
     [](auto& t) {
         t.app().open({.area = {0, 0, 9, 9}, .parent = t.plain_});
     }},
    {"MoveInItsFrame",
     [](auto& t) {
         t.app().move(t.inFrame_, 6, 6);
         t.app().resize(t.inFrame_, 30, 30);
     }},
};

class AfterAnotherDeedTest : public KeptWindowsTest, public testing::WithParamInterface<Deed> {};

TEST_P(AfterAnotherDeedTest, ListIsGivenWithoutAskingTheServer) {
    beginKeeping();
    const Windows before = windowsOnScreen();
    GetParam().act(*this);
    settle();
    EXPECT_EQ(listWithoutAsking(server()), before);
}

INSTANTIATE_TEST_SUITE_P(Deeds, AfterAnotherDeedTest, testing::ValuesIn(kOtherDeeds),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(KeptWindowsTest, ListMadeAnewIsKeptAgain) {
    beginKeeping();
    for (const xcb_window_t window : {aside_, plain_, beneathGuard_}) {
        client().raise(window);
        settle();
        const Windows raised = windowsOnScreen();
        EXPECT_EQ(listWithoutAsking(server()), raised);
    }
}

TEST_F(KeptWindowsTest, WindowThatTookOverAnIdentifierIsWatchedToo) {
    auto application = std::make_unique<WindowClient>(server().display());
    const xcb_window_t first = application->open({.area = kPlace, .isOverrideRedirect = true});
    application->sync();
    beginKeeping();
    application.reset();
    ASSERT_TRUE(eventually([&] { return !tree().parents().contains(first); }));
    application = std::make_unique<WindowClient>(server().display());
    ASSERT_EQ(application->open({.area = kPlace, .isOverrideRedirect = true}), first);
    application->sync();
    ASSERT_EQ(windowsOnScreen().front(), first);
    application->setManaged(first, WindowClient::Management::iconic);
    application->sync();
    settle();
    EXPECT_NE(windowsOnScreen().front(), first);
}

TEST_F(KeptWindowsTest, WhatAPictureTakesToMakeIsNoChange) {
    beginKeeping();
    const xcb_window_t blank = open({.area = kPlace, .background = Look::Background::none});
    ASSERT_EQ(windowsOnScreen().front(), blank);
    client().takeExposure(blank);
    ASSERT_NE(imageOfWindows(kScreen, {blank}), nullptr);
    ASSERT_TRUE(client().takeExposure(blank));  // what others had left in it was wiped
    settle();
    EXPECT_EQ(listWithoutAsking(server()).front(), blank);
}

TEST_F(KeptWindowsTest, ThreadThatTakesNoPicturesWantsToBeToldNothing) {
    const std::uint32_t before = tree().eventsWantedOf(plain_);
    std::promise<void> hasListed;
    std::promise<void> mayEnd;
    std::jthread other([&] {
        EXPECT_EQ(windowsOnScreen(), windowsOnScreen());
        hasListed.set_value();
        mayEnd.get_future().wait();
    });
    hasListed.get_future().wait();
    EXPECT_EQ(tree().eventsWantedOf(plain_), before);
    EXPECT_EQ(tree().eventsWantedOf(tree().root()), 0U);
    mayEnd.set_value();
    beginKeeping();
    EXPECT_NE(tree().eventsWantedOf(plain_), before);
}

/* Raises two windows in turn, a few times when it is told to. */
class Raiser {
  public:
    Raiser(const std::string& display, xcb_window_t one, xcb_window_t other)
        : thread_([this, display, one, other] {
              const WindowClient client(display);
              for (int i = 0; !stop_; ++i) {
                  mayRaise_.acquire();
                  client.raise(i % 2 == 0 ? one : other);
                  client.sync();
              }
          }) {}
    ~Raiser() {
        stop_ = true;
        mayRaise_.release();
    }
    Raiser(const Raiser&) = delete;
    Raiser& operator=(const Raiser&) = delete;

    void raise(int times) { mayRaise_.release(times); }

  private:
    std::atomic<bool> stop_ = false;
    std::counting_semaphore<> mayRaise_{0};
    std::jthread thread_;
};

class InOneFrameTest : public KeptWindowsTest, public testing::WithParamInterface<bool> {};

/* The parameter: whether the left-out window is on top of all, so that all of the picture is drawn,
 * or little of it. */
TEST_P(InOneFrameTest, WindowThatIsRaisedIsNotTakenForTheOtherOne) {
    const Area place{0, 0, 100, 80};
    const xcb_window_t secret = client().open({.area = place, .color = kRed, .parent = frame_});
    client().setManaged(secret);
    const xcb_window_t chosen = client().open({.area = place, .color = kGreen, .parent = frame_});
    client().setManaged(chosen);
    client().sync();
    if (GetParam())
        open({.area = kScreen, .color = kBlue});
    Raiser raiser(server().display(), secret, chosen);
    int shown = 0;
    int left = 0;
    for (int i = 0; i < 300; ++i) {
        raiser.raise(3);
        const Image image = imageOfWindows(kScreen, {chosen});
        ASSERT_TRUE(image == nullptr || !shows(image, kRed)) << "in picture " << i;
        shown += image != nullptr && shows(image, kGreen);
        left += image != nullptr && !shows(image, kGreen);
    }
    EXPECT_GT(shown, 0);
    EXPECT_GT(left, 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, InOneFrameTest, testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Drawn" : "Patched"; });

}  // namespace
