/* Servers that lack an extension: what there is without it is right, and what there is not is
 * refused. */
#include <xcb/shape.h>
#include <xcb/xcbext.h>

#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "window_test.h"

namespace {

/* Servers cannot be told to do without SHAPE. While this lives, connections that come to ask for it
 * ask for another name, and are told that there is no such extension. */
class HiddenShapes {
  public:
    HiddenShapes() { xcb_shape_id.name = "none of that name"; }
    ~HiddenShapes() { xcb_shape_id.name = name_; }
    HiddenShapes(const HiddenShapes&) = delete;
    HiddenShapes& operator=(const HiddenShapes&) = delete;

  private:
    const char* const name_ = xcb_shape_id.name;
};

struct Lack {
    const char* name;
    const char* extension;  // as servers name it
    bool hasPicturesOfWindows;
    const char* trace;
};

constexpr const char* kPossible = "pictures of windows: the server keeps their contents";

class MissingExtensionTest : public WindowTest, public testing::WithParamInterface<Lack> {
  protected:
    static constexpr Area kBeneath{40, 30, 100, 80};
    static constexpr Area kOnTop{60, 50, 200, 120};

    void SetUp() override {
        if (std::string(GetParam().extension) == "SHAPE") {
            hiddenShapes_.emplace();
            start({});  // the platform connects now
        } else {
            start({"-extension", GetParam().extension});
            ASSERT_FALSE(client().offers(GetParam().extension));
        }
        beneath_ = open({.area = kBeneath, .color = kGreen});
        onTop_ = open({.area = kOnTop, .color = kRed});
    }
    void TearDown() override { hiddenShapes_.reset(); }

    xcb_window_t beneath_ = 0;
    xcb_window_t onTop_ = 0;
    std::optional<HiddenShapes> hiddenShapes_;
};

TEST_P(MissingExtensionTest, ScreenIsShownAndItsWindowsAreListed) {
    EXPECT_NE(onlyDisplay(), 0U);
    EXPECT_EQ(CGDisplayBounds(onlyDisplay()).size.width, 320);
    EXPECT_EQ(windowsOnScreen(), (Windows{onTop_, beneath_}));
    const Image image = imageOf(0, 0, 320, 200);
    EXPECT_EQ(colorAt(image, 45, 35), kGreen);
    EXPECT_EQ(colorAt(image, 65, 55), kRed);
    EXPECT_EQ(colorAt(image, 300, 10), kBlack);
}

TEST_P(MissingExtensionTest, WindowIsLeftOutOrThereIsNoPicture) {
    const Image image = imageOfWindows(kScreen, {beneath_});
    ASSERT_EQ(image != nullptr, GetParam().hasPicturesOfWindows);
    if (image == nullptr)
        return;
    EXPECT_EQ(colorAt(image, 45, 35), kGreen);
    EXPECT_EQ(colorAt(image, 65, 55), kGreen);
    EXPECT_EQ(colorAt(image, 200, 100), kBlack);
    EXPECT_FALSE(shows(image, kRed));
}

TEST_P(MissingExtensionTest, WindowIsShownAloneOrThereIsNoPicture) {
    const Image image = imageOfWindow(kScreen, beneath_);
    ASSERT_EQ(image != nullptr, GetParam().hasPicturesOfWindows);
    if (image == nullptr)
        return;
    EXPECT_EQ(colorAt(image, 40, 30), kGreen);
    EXPECT_EQ(colorAt(image, 139, 109), kGreen);
    EXPECT_EQ(pixelAt(image.get(), 140, 109), Pixel{});
    EXPECT_FALSE(shows(image, kRed));
}

TEST_P(MissingExtensionTest, IsTracedOnce) {
    onlyDisplay();
    const std::string trace = traceOf([this] {
        for (int i = 0; i < 2; ++i) {
            imageOfWindows(kScreen, {beneath_});
            imageOfWindow(kScreen, beneath_);
        }
    });
    const auto first = trace.find(GetParam().trace);
    ASSERT_NE(first, std::string::npos) << trace;
    const auto rest = first + std::strlen(GetParam().trace);
    EXPECT_EQ(trace.find("pictures of windows", rest), std::string::npos) << trace;
}

const Lack kLacks[]{
    {"SharedMemory", "MIT-SHM", true, kPossible},  // images come in replies
    {"Outputs", "RANDR", true, kPossible},         // the screen is the one display
    {"Regions", "XFIXES", true, kPossible},        // not needed; such servers may end with a client
    {"Damage", "DAMAGE", true, kPossible},         // not needed
    {"Shapes", "SHAPE", true, kPossible},          // windows are taken for rectangles
    {"Contents", "Composite", false, "no pictures of windows: the server has no COMPOSITE 0.2"},
    {"Drawing", "RENDER", false,
     "no pictures of windows: the server has no RENDER 0.10 with colours"},
};

INSTANTIATE_TEST_SUITE_P(Lacks, MissingExtensionTest, testing::ValuesIn(kLacks),
                         [](const auto& instance) { return instance.param.name; });

class MissingShapesTest : public WindowTest {};

TEST_F(MissingShapesTest, NothingOfALeftOutWindowIsSeenThroughAShapedOne) {
    open({.area = kScreen, .color = kRed});
    const xcb_window_t shaped = open({.area = {40, 30, 100, 80}, .color = kGreen});
    client().setShape(shaped, {{0, 0, 20, 20}});
    client().sync();
    const HiddenShapes hiddenShapes;
    std::thread([shaped] {  // with a connection of its own
        for (int i = 0; i < 3; ++i) {
            const Image image = imageOfWindows(kScreen, {shaped});
            EXPECT_EQ(colorAt(image, 59, 49), kGreen);
            EXPECT_FALSE(shows(image, kRed));
            const Image alone = imageOfWindow(kScreen, shaped);
            EXPECT_FALSE(shows(alone, kRed));
            EXPECT_EQ(pixelAt(alone.get(), 100, 90).fourth, 255);  // it is taken for a rectangle
        }
    })
        .join();
}

}  // namespace
