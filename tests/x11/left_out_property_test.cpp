/*
 * While windows do at random what windows do, no picture shows one that is left out, and once they
 * rest, the picture is the screen without it, to the pixel.
 *
 * The pictures are made as the capture manager makes them: of the windows that are listed, less
 * those left out. The left-out window's colour is the only one with any red in it, so that it would
 * be seen even where it is blended with others.
 */
#include <algorithm>
#include <cstring>
#include <iostream>
#include <optional>

#include "desktop_session.h"
#include "window_crowd.h"
#include "window_test.h"

namespace {

constexpr int kPicturesBetweenRests = 100;
constexpr int kPicturesBetweenControls = 20;
constexpr Area kAll{0, 0, WindowCrowd::kScreenWidth, WindowCrowd::kScreenHeight};

/* None if there is no image. */
std::vector<std::uint32_t> pixelsOf(const Image& image) {
    if (image == nullptr)
        return {};
    const Data data = dataOf(image.get());
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(CFDataGetLength(data.get())) / 4);
    std::memcpy(pixels.data(), CFDataGetBytePtr(data.get()), pixels.size() * 4);
    return pixels;
}

/* Whether any pixel has any red. */
bool showsRed(const Image& image) {
    std::uint32_t all = 0;
    for (const std::uint32_t pixel : pixelsOf(image))
        all |= pixel;
    return (all & 0x00ff0000U) != 0;
}

/* Null if there is no list of windows, or no picture. */
Image imageWithout(xcb_window_t leftOut) {
    const Owned<const __CFArray> listed(
        CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
    if (listed == nullptr)
        return nullptr;
    Windows windows;
    for (CFIndex i = 0; i < CFArrayGetCount(listed.get()); ++i)
        windows.push_back(static_cast<CGWindowID>(
            reinterpret_cast<std::uintptr_t>(CFArrayGetValueAtIndex(listed.get(), i))));
    std::erase(windows, leftOut);
    return imageOfWindows(kAll, windows);
}

Image screen() {
    return imageOf(0, 0, kAll.width, kAll.height);
}

struct Setting {
    const char* name;
    unsigned seed;
    int pictures;
    int mostActs;  // for each of them
    bool hasManager;
    std::optional<DesktopSession::Effects> compositor;
    // Else the screen goes on changing after the windows have come to rest.
    bool screenComesToRest;
};

class LeftOutPropertyTest : public WindowTest, public testing::WithParamInterface<Setting> {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        desktop_.emplace(server().display());
        if (GetParam().hasManager)
            desktop_->startWindowManager();
        if (GetParam().compositor)
            desktop_->startCompositor(*GetParam().compositor);
        crowd_.emplace(server().display(), GetParam().seed, GetParam().mostActs);
        desktop_->settle();
    }
    void TearDown() override {
        crowd_.reset();
        desktop_.reset();
    }

    /* The picture once all have painted what they had to: at first, what another window may have
     * left in a window is wiped, and its application asked to paint that. */
    std::vector<std::uint32_t> pictureAtRest(WindowCrowd& crowd) const {
        crowd.paintAll();
        desktop_->settle();
        imageWithout(crowd.secret());
        crowd.paintExposed();
        desktop_->settle();
        return pixelsOf(imageWithout(crowd.secret()));
    }

    void expectExactAtRest(bool isSecretOverAll) {
        const auto lock = crowd_->rest();
        WindowCrowd& crowd = crowd_->crowd();
        crowd.showSecret(isSecretOverAll);
        desktop_->settle();
        const auto picture = pictureAtRest(crowd);
        ASSERT_FALSE(picture.empty());
        if (!GetParam().hasManager) {
            EXPECT_TRUE(picture == crowd.expectedWithoutSecret());
        }
        crowd.hideSecret();
        desktop_->settle();
        if (GetParam().screenComesToRest) {
            EXPECT_TRUE(eventually([&] { return pixelsOf(screen()) == picture; }));
        }
        crowd.showSecret(false);
    }

    std::optional<DesktopSession> desktop_;
    std::optional<CrowdInMotion> crowd_;
};

TEST_P(LeftOutPropertyTest, NoPictureShowsItAndAtRestTheyAreExact) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam().seed);
    int missing = 0;
    int controls = 0;
    for (int taken = 0; taken < GetParam().pictures; ++taken) {
        crowd_->goOn();
        const Image image = imageWithout(crowd_->crowd().secret());
        missing += image == nullptr;
        ASSERT_FALSE(showsRed(image)) << "in picture " << taken;
        if (taken % kPicturesBetweenControls == 0)
            controls += showsRed(screen());
        if (taken % kPicturesBetweenRests == 0)
            expectExactAtRest(taken % (2 * kPicturesBetweenRests) == 0);
        ASSERT_FALSE(HasFailure()) << "at rest after picture " << taken;
    }
    std::cout << "no picture in " << missing << " of " << GetParam().pictures << '\n';
    EXPECT_LT(missing, GetParam().pictures / 2);
    EXPECT_GT(controls, 0);  // it was on the screen, and would have been seen
}

constexpr auto kPlain = DesktopSession::Effects::none;
constexpr auto kWithEffects = DesktopSession::Effects::fadesAndShadows;

INSTANTIATE_TEST_SUITE_P(Settings, LeftOutPropertyTest,
                         testing::Values(Setting{"Bare", 20111, 4000, 24, false, {}, true},
                                         Setting{"Managed", 20222, 2000, 6, true, {}, true},
                                         Setting{"Composited", 20333, 2000, 6, true, kPlain, true},
                                         Setting{"Effects", 20444, 2000, 6, true, kWithEffects,
                                                 false}),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
