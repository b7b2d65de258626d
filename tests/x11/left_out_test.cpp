/*
 * No picture shows a pixel of a window that was left out.
 *
 * The left-out window is all of one colour that nothing else has.
 */
#include <signal.h>

#include <atomic>
#include <functional>
#include <thread>

#include "server_objects.h"
#include "window_test.h"

namespace {

class LeftOutTest : public WindowTest {
  protected:
    static constexpr Area kPlace{40, 30, 100, 80};

    xcb_window_t openSecret(const Area& area = kScreen) const {
        return open({.area = area, .color = kRed});
    }

    /* A window without a background whose application never paints: it keeps what the server puts
     * into it. */
    xcb_window_t openBlank(const Area& area = kPlace) const {
        return open({.area = area, .background = Look::Background::none});
    }

    /* Looks at several pictures in a row, of the desktop and of the window alone. */
    void expectNoSecret(xcb_window_t chosen) const {
        for (int i = 0; i < 3; ++i) {
            const Image desktop = imageOfWindows(kScreen, {chosen});
            const Image alone = imageOfWindow(kScreen, chosen);
            ASSERT_NE(desktop, nullptr);
            ASSERT_NE(alone, nullptr);
            EXPECT_FALSE(shows(desktop, kRed));
            EXPECT_FALSE(shows(alone, kRed));
        }
    }

    void begin() const { ASSERT_NE(imageOfWindows(kScreen, {}), nullptr); }
};

TEST_F(LeftOutTest, WindowThatItCoveredFromTheStart) {
    const xcb_window_t blank = openBlank();
    openSecret();
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowThatWasMappedOverItBeforeTheFirstPicture) {
    openSecret();
    expectNoSecret(openBlank());
}

TEST_F(LeftOutTest, WindowThatItCoveredAndLeftBeforeTheFirstPicture) {
    const xcb_window_t blank = openBlank();
    const xcb_window_t secret = openSecret();
    client().unmap(secret);
    client().sync();
    ASSERT_TRUE(shows(imageOf(0, 0, 320, 200), kRed));  // the server leaves it on screen
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowThatIsMappedOverItLater) {
    openSecret();
    begin();
    expectNoSecret(openBlank());
}

TEST_F(LeftOutTest, WindowThatIsMappedBeneathItLater) {
    openSecret();
    begin();
    const xcb_window_t blank =
        client().create({.area = kPlace, .background = Look::Background::none});
    client().lower(blank);
    client().map(blank);
    client().sync();
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowThatIsResizedOverIt) {
    const xcb_window_t blank = openBlank();
    openSecret({100, 80, 200, 100});
    client().raise(blank);
    expectNoSecret(blank);
    client().resize(blank, 150, 120);
    client().sync();
    expectNoSecret(blank);
    client().move(blank, 120, 90);
    client().sync();
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowThatIsMappedWhereItWas) {
    const xcb_window_t secret = openSecret();
    begin();
    client().unmap(secret);
    const xcb_window_t blank = openBlank();
    expectNoSecret(blank);
    client().map(secret);
    client().unmap(blank);
    client().sync();
    begin();
    client().destroy(secret);
    client().map(blank);
    client().sync();
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowThatTookItsPixelsOverFromAnother) {
    const xcb_window_t secret = openSecret(kPlace);
    begin();
    const xcb_window_t first = openBlank();
    client().unmap(secret);
    client().sync();
    // The first one is not looked at, so what it took over is still in it when the next one comes.
    const xcb_window_t second = openBlank({60, 50, 100, 80});
    expectNoSecret(second);
    expectNoSecret(first);
}

TEST_F(LeftOutTest, WindowsThatWereChosenBeforeItWasLeftOut) {
    const xcb_window_t secret = openSecret();
    ASSERT_TRUE(shows(imageOfWindows(kScreen, {secret}), kRed));
    const xcb_window_t blank = openBlank();
    ASSERT_NE(imageOfWindows(kScreen, {blank, secret}), nullptr);
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowInAFrame) {
    openSecret();
    begin();
    const xcb_window_t frame = client().create({.area = kPlace, .color = kGreen, .border = 2});
    const xcb_window_t blank = client().open(
        {.area = {5, 15, 80, 50}, .background = Look::Background::none, .parent = frame});
    client().setManaged(blank);
    client().map(frame);
    client().sync();
    expectNoSecret(blank);
    EXPECT_TRUE(shows(imageOfWindow(kScreen, blank), kGreen));
}

TEST_F(LeftOutTest, WindowWhoseShapeGrows) {
    openSecret();
    begin();
    const xcb_window_t blank =
        client().create({.area = kPlace, .background = Look::Background::none});
    client().setShape(blank, {{0, 0, 20, 20}});
    client().map(blank);
    client().sync();
    expectNoSecret(blank);
    client().setShape(blank, {{0, 0, 100, 80}});
    client().sync();
    expectNoSecret(blank);
}

TEST_F(LeftOutTest, WindowWithAnAlphaChannel) {
    openSecret();
    begin();
    const xcb_window_t translucent = client().createTranslucent(kPlace, 0);
    client().map(translucent);
    client().sync();
    expectNoSecret(translucent);
}

TEST_F(LeftOutTest, WindowKeepsWhatItPaintedOnceItWasWiped) {
    openSecret();
    begin();
    const xcb_window_t window = openBlank();
    expectNoSecret(window);
    client().fill(window, {0, 0, 100, 80}, kGreen);
    client().takeExposure(window);
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {window}), 139, 109), kGreen);
    EXPECT_FALSE(client().takeExposure(window));
}

TEST_F(LeftOutTest, WindowsApartFromItAreLeftAlone) {
    openSecret({200, 100, 100, 80});
    begin();
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    client().takeExposure(window);
    expectNoSecret(window);
    EXPECT_FALSE(client().takeExposure(window));
}

TEST_F(LeftOutTest, BorderOfAWindowIsItsOwn) {
    openSecret();
    begin();
    const xcb_window_t window = open(
        {.area = kPlace, .background = Look::Background::none, .border = 6, .borderColor = kGreen});
    expectNoSecret(window);
    const Image image = imageOfWindow(kPlace, window);
    EXPECT_EQ(colorAt(image, 0, 0), kGreen);
    EXPECT_EQ(colorAt(image, 5, 79), kGreen);
    EXPECT_EQ(colorAt(image, 6, 79), kBlack);
}

/* Does something to the windows on a thread of its own, so many times for each picture: unbounded,
 * it would take all of the server's time. */
class Turmoil {
  public:
    Turmoil(const std::string& display, std::function<void(const WindowClient&, int)> step)
        : thread_([this, display, step = std::move(step)] {
              const WindowClient client(display);
              for (int i = 0; !stop_; ++i) {
                  for (int allowed = allowed_; i >= allowed; allowed = allowed_)
                      allowed_.wait(allowed);
                  step(client, i);
                  client.sync();
              }
          }) {}
    ~Turmoil() {
        stop_ = true;
        goOn();
    }
    Turmoil(const Turmoil&) = delete;
    Turmoil& operator=(const Turmoil&) = delete;

    void goOn() {
        allowed_ += 10;
        allowed_.notify_one();
    }

  private:
    std::atomic<bool> stop_ = false;
    std::atomic<int> allowed_ = 0;
    std::jthread thread_;
};

/* Pictures while something is going on; each that there is must be without the secret. */
void expectNoSecretIn(int count, const Windows& chosen, Color secret, Turmoil& turmoil) {
    int taken = 0;
    while (taken < count) {
        turmoil.goOn();
        const Image image = imageOfWindows({0, 0, 320, 200}, chosen);
        ASSERT_TRUE(image == nullptr || !shows(image, secret)) << "in picture " << taken;
        taken += image != nullptr;
    }
}

TEST_F(LeftOutTest, IsNeverSeenWhileItIsMovedRaisedAndMapped) {
    const xcb_window_t green = open({.area = {0, 0, 200, 150}, .color = kGreen});
    const xcb_window_t blank = openBlank({60, 40, 200, 140});
    const xcb_window_t secret = openSecret({30, 30, 120, 90});
    Turmoil turmoil(server().display(), [secret](const WindowClient& other, int step) {
        other.move(secret, static_cast<std::int16_t>(step % 90), 20);
        if (step % 3 == 0)
            other.lower(secret);
        else
            other.raise(secret);
        if (step % 7 == 0)
            other.unmap(secret);
        other.map(secret);
    });
    expectNoSecretIn(300, {blank, green}, kRed, turmoil);
}

TEST_F(LeftOutTest, IsNeverSeenWhileOthersAreMappedAndResizedOverIt) {
    const xcb_window_t blank = open({.area = {60, 40, 200, 140},
                                     .background = Look::Background::none,
                                     .border = 5,
                                     .borderColor = kBlue});
    openSecret({30, 30, 220, 150});
    Turmoil turmoil(server().display(), [blank](const WindowClient& other, int step) {
        if (step % 2 == 0)
            other.unmap(blank);
        other.map(blank);
        other.raise(blank);
        other.resize(blank, static_cast<std::uint16_t>(100 + step % 80), 100);
    });
    expectNoSecretIn(300, {blank}, kRed, turmoil);
}

TEST_F(LeftOutTest, ServerKilledInBetweenLeavesNoPicture) {
    start({ownDisplay()});
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    openSecret();
    std::jthread killer;
    const pid_t pid = server().pid();
    ASSERT_NE(imageOfWindows(kScreen, {window}), nullptr);
    killer = std::jthread([pid] { kill(pid, SIGKILL); });
    EXPECT_TRUE(eventually([&] {
        const Image image = imageOfWindows(kScreen, {window});
        return image == nullptr;
    }));
    EXPECT_EQ(imageOfWindow(kScreen, window), nullptr);
}

TEST_F(LeftOutTest, FrozenServerFailsPicturesWithinAFewSeconds) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    ASSERT_NE(imageOfWindows(kScreen, {window}), nullptr);
    kill(server().pid(), SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(imageOfWindows(kScreen, {window}), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    kill(server().pid(), SIGCONT);
    EXPECT_NE(imageOfWindows(kScreen, {window}), nullptr);
}

TEST_F(LeftOutTest, TwoThousandPicturesLeaveNothingInTheServer) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const xcb_window_t shaped = open({.area = kPlace, .color = kBlue});
    client().setShape(shaped, {{0, 0, 20, 20}});
    client().setOpacity(shaped, 0.5);
    client().setBackdrop(kGreen, kBlue, 16);
    openSecret();
    const auto take = [&](int count) {
        for (int i = 0; i < count; ++i) {
            client().resize(window, static_cast<std::uint16_t>(60 + i % 2), 80);
            client().sync();
            ASSERT_NE(imageOfWindows(kScreen, {shaped, window}), nullptr);
            ASSERT_NE(imageOfWindow(kPlace, window), nullptr);
        }
    };
    take(10);
    const auto before = objectsInServer(server().display());
    ASSERT_GT(before.at("PIXMAP"), 0U);
    take(1000);
    EXPECT_EQ(objectsInServer(server().display()), before);
}

}  // namespace
