/* Windows that are not what their number says, or go at any moment, and servers that are taken. */
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <iostream>
#include <span>
#include <string>
#include <thread>

#include "display_relay.h"
#include "process_resources.h"
#include "window_test.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

class WindowFaultsTest : public WindowTest {
  protected:
    static constexpr Area kPlace{40, 30, 100, 80};

    void expectGreenAt(const Image& image, bool isShown) const {
        EXPECT_EQ(colorAt(image, 50, 40), isShown ? kGreen : kBlack);
    }
};

/* Has a server's answer about a window be lost: the question, the first of its kind, asks nothing.
 * As where the X client library has no memory for an answer, all others come. */
class LosingRelay {
  public:
    LosingRelay(const XvfbServer& server, std::uint8_t question, xcb_window_t window)
        : question_(question),
          window_(window),
          relay_(server.socketPath(), [this](auto bytes) { lose(bytes); }) {}

    std::string display() const { return relay_.display(); }
    bool hasLost() const { return hasLost_; }

  private:
    /* Requests begin with their number, their length in words is in the third and fourth byte, and
     * the window follows. */
    void lose(std::span<std::uint8_t> bytes) {
        constexpr std::uint8_t kNoOperation = 127;
        std::uint32_t head[2];
        for (; bytes.size() >= sizeof head && !hasLost_;) {
            std::memcpy(head, bytes.data(), sizeof head);
            const std::size_t length = 4 * (head[0] >> 16);
            if (bytes[0] == question_ && head[1] == window_) {
                bytes[0] = kNoOperation;
                hasLost_ = true;
            }
            if (length == 0 || length > bytes.size())
                return;
            bytes = bytes.subspan(length);
        }
    }

    const std::uint8_t question_;
    const xcb_window_t window_;
    std::atomic<bool> hasLost_ = false;
    DisplayRelay relay_;
};

class LostAnswerTest : public WindowFaultsTest, public testing::WithParamInterface<std::uint8_t> {};

TEST_P(LostAnswerTest, LeavesOutWhatIsToBeLeftOut) {
    const xcb_window_t shown = open({.area = kPlace, .color = kGreen});
    const xcb_window_t leftOut = open({.area = {150, 30, 100, 80}, .color = kRed});
    LosingRelay relay(server(), GetParam(), leftOut);
    useDisplay(relay.display());
    std::thread([&] {
        const Image first = imageOfWindows(kScreen, {shown});
        EXPECT_TRUE(relay.hasLost());
        EXPECT_TRUE(first == nullptr || !shows(first, kRed));
        const Image second = imageOfWindows(kScreen, {shown});
        expectGreenAt(second, true);
        EXPECT_FALSE(shows(second, kRed));
    }).join();
}

INSTANTIATE_TEST_SUITE_P(Questions, LostAnswerTest,
                         testing::Values(std::uint8_t{XCB_GET_WINDOW_ATTRIBUTES},
                                         std::uint8_t{XCB_GET_GEOMETRY}),
                         [](const auto& instance) {
                             return instance.param == XCB_GET_GEOMETRY ? "Geometry" : "Attributes";
                         });

/* What else a number may be, made by a client that has a window on screen. */
struct Impostor {
    const char* name;
    std::function<xcb_window_t(const WindowClient&, xcb_window_t)> make;
};

class ImpostorTest : public WindowFaultsTest, public testing::WithParamInterface<Impostor> {
  protected:
    void SetUp() override { start({"-screen", "1", "320x200x24"}); }
};

xcb_window_t openElsewhere(const WindowClient& client, xcb_window_t) {
    return client.open(
        {.area = {0, 0, 320, 200}, .color = {200, 10, 20}, .parent = client.root(1)});
}

xcb_window_t destroyed(const WindowClient& client, xcb_window_t) {
    const xcb_window_t window = client.open({.area = {0, 0, 320, 200}, .color = {200, 10, 20}});
    client.destroy(window);
    return window;
}

xcb_window_t neverMapped(const WindowClient& client, xcb_window_t) {
    return client.create({.area = {0, 0, 320, 200}, .color = {200, 10, 20}});
}

xcb_window_t openForInput(const WindowClient& client, xcb_window_t) {
    return client.open({.area = {0, 0, 320, 200}, .isInputOnly = true});
}

/* As green as its parent, which shows it. */
xcb_window_t openWithin(const WindowClient& client, xcb_window_t parent) {
    return client.open({.area = {60, 60, 9, 9}, .color = {30, 180, 40}, .parent = parent});
}

const Impostor kImpostors[]{
    {"NeverWas", [](auto&, auto) { return xcb_window_t{0x00deadbe}; }},
    {"PastAllNumbers", [](auto&, auto) { return xcb_window_t{0xffffffff}; }},
    {"Null", [](auto&, auto) { return xcb_window_t{0}; }},
    {"Destroyed", destroyed},
    {"NeverMapped", neverMapped},
    {"ForInputOnly", openForInput},
    {"WithinAWindow", openWithin},
    {"Root", [](const WindowClient& client, auto) { return client.root(); }},
    {"OtherScreensRoot", [](const WindowClient& client, auto) { return client.root(1); }},
    {"OtherScreens", openElsewhere},
};

TEST_P(ImpostorTest, IsLeftOutOfTheDesktopSilently) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const auto expected = bytesOf(imageOfWindows(kScreen, {window}).get());
    const xcb_window_t impostor = GetParam().make(client(), window);
    client().sync();
    const Image image = imageOfWindows(kScreen, {impostor, window, impostor});
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(bytesOf(image.get()) == expected);
    EXPECT_FALSE(shows(imageOfWindows(kScreen, {impostor}), kRed));
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {impostor}), 50, 40), kBlack);
}

TEST_P(ImpostorTest, HasNoPictureAlone) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const xcb_window_t impostor = GetParam().make(client(), window);
    client().sync();
    EXPECT_EQ(imageOfWindow(kScreen, impostor), nullptr);
    EXPECT_EQ(colorAt(imageOfWindow(kScreen, window), 50, 40), kGreen);
}

INSTANTIATE_TEST_SUITE_P(Impostors, ImpostorTest, testing::ValuesIn(kImpostors),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(WindowFaultsTest, WindowDestroyedAfterItWasListedIsLeftOut) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    for (int i = 0; i < 500; ++i) {
        const xcb_window_t doomed = open({.area = kScreen, .color = kRed});
        const Windows listed = windowsOnScreen();
        ASSERT_EQ(listed, (Windows{doomed, window}));
        client().destroy(doomed);
        client().sync();
        const Image image = imageOfWindows(kScreen, listed);
        ASSERT_EQ(colorAt(image, 50, 40), kGreen);
        ASSERT_FALSE(shows(image, kRed));
        ASSERT_EQ(imageOfWindow(kScreen, doomed), nullptr);
    }
}

TEST_F(WindowFaultsTest, WindowsDestroyedAllTheTimeFailNoPicture) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const std::jthread destroyer([this](const std::stop_token& stop) {
        const WindowClient other(server().display());
        while (!stop.stop_requested()) {
            const xcb_window_t doomed = other.open({.area = {0, 0, 300, 190}, .color = kRed});
            other.sync();
            other.destroy(doomed);
            other.sync();
        }
    });
    int whole = 0;
    for (int i = 0; i < 500; ++i) {
        const Windows listed = windowsOnScreen();
        ASSERT_EQ(listed.back(), window);
        const Image image = imageOfWindows(kScreen, listed);
        if (image != nullptr)
            whole += colorAt(image, 50, 40) != kBlack;
        const Image alone = imageOfWindow(kScreen, listed.front());
        ASSERT_TRUE(alone == nullptr || CGImageGetWidth(alone.get()) == kScreen.width);
    }
    EXPECT_GE(whole, 250);
}

/* Colours that tell the windows apart. */
Color colorOf(int index) {
    return {static_cast<std::uint8_t>(index), static_cast<std::uint8_t>(255 - index), 77};
}

class ManyWindowsTest : public WindowFaultsTest {
  protected:
    static constexpr int kCount = 256;

    /* Overlapping ones, the last one on top. */
    void SetUp() override {
        WindowFaultsTest::SetUp();
        for (int i = 0; i < kCount; ++i)
            windows_.push_back(
                client().open({.area = {static_cast<std::int16_t>(i % 16 * 19),
                                        static_cast<std::int16_t>(i / 16 * 11), 30, 20},
                               .color = colorOf(i)}));
        client().sync();
    }

    Windows windows_;
};

TEST_F(ManyWindowsTest, AreListedFrontToBack) {
    EXPECT_EQ(windowsOnScreen(), Windows(windows_.rbegin(), windows_.rend()));
}

TEST_F(ManyWindowsTest, PictureLeavesAHundredOut) {
    Windows shown = windowsOnScreen();
    Windows leftOut;
    for (std::size_t i = 0; i < 100; ++i)
        leftOut.push_back(windows_[2 * i + 1]);
    std::erase_if(shown, [&](auto window) { return std::ranges::count(leftOut, window) > 0; });
    ASSERT_EQ(shown.size(), 156U);
    const Image first = imageOfWindows(kScreen, shown);
    const auto start = Clock::now();
    const auto picture = bytesOf(imageOfWindows(kScreen, shown).get());
    std::cout << "256 windows, 100 left out: "
              << std::chrono::duration<double>(Clock::now() - start) << " for a picture\n";
    for (const xcb_window_t window : leftOut)
        client().unmap(window);
    client().sync();
    EXPECT_TRUE(picture == bytesOf(imageOf(0, 0, 320, 200).get()));
    EXPECT_TRUE(bytesOf(first.get()) == picture);
}

template <typename Function>
Clock::duration durationOf(Function function) {
    const auto start = Clock::now();
    function();
    return Clock::now() - start;
}

TEST_F(WindowFaultsTest, GrabbedServerFailsCallsWithinTheirBoundAndIsUsedAgain) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const auto picture = [&] { return imageOfWindows(kScreen, {window}); };
    const auto alone = [&] { return imageOfWindow(kScreen, window); };
    ASSERT_NE(picture(), nullptr);
    const auto end = Clock::now() + seconds(5);
    {
        const ServerGrab grab(server().display());
        while (Clock::now() < end) {
            EXPECT_LT(durationOf([&] { EXPECT_EQ(picture(), nullptr); }), seconds(4));
            EXPECT_LT(durationOf([&] { EXPECT_EQ(alone(), nullptr); }), seconds(4));
            EXPECT_LT(durationOf([&] { EXPECT_EQ(imageOf(0, 0, 9, 9), nullptr); }), seconds(4));
        }
    }
    expectGreenAt(picture(), true);
    expectGreenAt(alone(), true);
    EXPECT_EQ(windowsOnScreen(), Windows{window});
}

TEST_F(WindowFaultsTest, ServerGrabbedBeforeTheFirstPictureIsUsedOnceItIsFree) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    {
        const ServerGrab grab(server().display());
        EXPECT_EQ(imageOfWindows(kScreen, {window}), nullptr);
    }
    expectGreenAt(imageOfWindows(kScreen, {window}), true);
}

TEST_F(WindowFaultsTest, MemoryRefusedInTheMiddleIsHadInAnotherWay) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    ASSERT_NE(imageOfWindows({40, 30, 20, 20}, {window}), nullptr);
    const std::string trace = traceOf([&] {
        const NoLargeFiles noLargeFiles;
        const Image held = imageOfWindows(kScreen, {window});
        expectGreenAt(held, true);
        expectGreenAt(imageOfWindow(kScreen, window), true);
    });
    EXPECT_NE(trace.find("images through shared memory by identifier: no memory to pass"),
              std::string::npos)
        << trace;
    expectGreenAt(imageOfWindows(kScreen, {window}), true);
}

}  // namespace
