/*
 * An image never changes, however long it is held, by whom, and as what, while its thread takes
 * others of a screen that changes at random.
 */
#include <gtest/gtest.h>

#include <mutex>
#include <ostream>
#include <thread>
#include <vector>

#include "screen_changes.h"
#include "window_test.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

enum class Picture { screen, withoutAWindow, oneWindow };

struct Setting {
    const char* name;
    unsigned seed;
    Picture picture;
    std::vector<std::string> arguments = {};
    const char* screen = "480x320x24";
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name << ", seed " << setting.seed;
}

class HeldImagesTest : public testing::TestWithParam<Setting> {
  protected:
    HeldImagesTest() {
        useDisplay(server_.display());
        onlyDisplay();  // leaves an earlier test's connection
    }

    /* Null while a window that was never seen is off the screen. */
    Image take() const {
        const xcb_window_t window = changes_.lasting(0);
        if (GetParam().picture == Picture::oneWindow)
            return imageOfWindow(changes_.screen(), window);
        if (GetParam().picture == Picture::screen)
            return imageOf(0, 0, 480, 320);
        Windows windows = windowsOnScreen();
        std::erase(windows, window);
        return imageOfWindows(changes_.screen(), windows);
    }

    const XvfbServer server_{GetParam().screen, GetParam().arguments};
    ScreenChanges changes_{server_.display(),
                           GetParam().seed,
                           {.drawsOnRoot = GetParam().picture == Picture::screen,
                            .favoursFirst = GetParam().picture == Picture::oneWindow}};
};

bool isAsBefore(const Data& data, const Bytes& before) {
    const std::uint8_t* bytes = CFDataGetBytePtr(data.get());
    return static_cast<std::size_t>(CFDataGetLength(data.get())) == before.size() &&
           std::equal(before.begin(), before.end(), bytes);
}

/* An image, or its bytes alone, and what they were when it was taken. */
struct Held {
    Image image;
    Data data;
    Bytes before;
};

TEST_P(HeldImagesTest, EveryThirdStaysAsItWasWhileOthersAreTaken) {
    constexpr int kImages = 180;
    std::vector<Held> held;
    for (int i = 0; i < kImages; ++i) {
        changes_.change();
        Image image = take();
        if (image == nullptr || i % 3 != 0)
            continue;
        Held taken{nullptr, dataOf(image.get()), bytesOf(image.get())};
        if (i % 2 == 0)
            taken.image = std::move(image);
        held.push_back(std::move(taken));
    }
    ASSERT_GT(held.size(), kImages / 6U);
    for (std::size_t i = 0; i < held.size(); ++i)
        EXPECT_TRUE(isAsBefore(held[i].data, held[i].before)) << "image " << i;
}

TEST_P(HeldImagesTest, AnyStaysAsItWasUntilAnotherThreadReleasesIt) {
    constexpr int kImages = 300;
    std::mutex mutex;
    std::vector<Held> handedOver;
    int read = 0;
    std::jthread reader([&](const std::stop_token& stop) {
        bool isOver = false;
        while (!isOver) {
            isOver = stop.stop_requested();  // what was handed over before is read yet
            std::vector<Held> taken;
            {
                const std::lock_guard lock(mutex);
                taken.swap(handedOver);
            }
            for (const Held& held : taken) {
                EXPECT_TRUE(isAsBefore(held.data, held.before)) << "image " << read;
                ++read;
            }
        }
    });
    for (int i = 0; i < kImages; ++i) {
        if (i % 4 == 0)
            changes_.change();
        Image image = take();
        if (image == nullptr)
            continue;
        Bytes before = bytesOf(image.get());
        Data data = dataOf(image.get());
        const std::lock_guard lock(mutex);
        handedOver.push_back({std::move(image), std::move(data), std::move(before)});
    }
    reader.request_stop();
    reader.join();
    EXPECT_GT(read, kImages / 2);
}

/* The screen does not change then, only what is beneath the window. */
TEST(HeldPictureTest, StaysAsItWasWhenWhatIsCoveredByALeftOutWindowChanges) {
    constexpr Area kPlace{50, 60, 100, 80};
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    onlyDisplay();  // leaves an earlier test's connection
    const WindowClient client(server.display());
    const xcb_window_t beneath = client.open({.area = kPlace, .color = {30, 180, 40}});
    const xcb_window_t cover = client.open({.area = kPlace, .color = {200, 10, 20}});
    client.sync();
    const auto take = [&] {
        Windows windows = windowsOnScreen();
        std::erase(windows, cover);
        return imageOfWindows({0, 0, 320, 200}, windows);
    };
    for (std::uint8_t shade = 1; shade < 20; ++shade) {
        const Image held = take();
        const Bytes before = bytesOf(held.get());
        client.fill(beneath, {0, 0, 100, 80}, {shade, 0, 0});
        client.sync();
        EXPECT_EQ(colorAt(take(), 60, 70), (Color{shade, 0, 0}));
        EXPECT_EQ(bytesOf(held.get()), before);
    }
}

const std::vector<std::string> kInReplies{"-extension", "MIT-SHM"};

const Setting kSettings[]{
    {"Screen", 201, Picture::screen},
    {"ScreenInReplies", 202, Picture::screen, kInReplies},
    {"ScreenOf16Bits", 203, Picture::screen, {}, "480x320x16"},
    {"ScreenOfAPalette", 204, Picture::screen, {"-cc", "3"}, "480x320x8"},
    {"ScreenWithoutRender", 210, Picture::screen, {"-extension", "RENDER"}},
    {"ScreenWithoutDamage", 205, Picture::screen, {"-extension", "DAMAGE"}},
    {"WithoutAWindow", 206, Picture::withoutAWindow},
    {"WithoutAWindowInReplies", 207, Picture::withoutAWindow, kInReplies},
    {"OneWindow", 208, Picture::oneWindow},
    {"OneWindowInReplies", 209, Picture::oneWindow, kInReplies},
};

INSTANTIATE_TEST_SUITE_P(Settings, HeldImagesTest, testing::ValuesIn(kSettings),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
