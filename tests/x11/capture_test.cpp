/* The capture manager on top of the platform library and a real server. */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <gmock/gmock.h>
#include <kxcommon64.h>
#include <vqutilc.h>

#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>

#include "process_resources.h"
#include "screen_test.h"

namespace {

constexpr Color kRed{200, 10, 20};
constexpr Color kGreen{30, 180, 40};
constexpr Color kBlue{50, 60, 220};

using Bytes = std::vector<std::uint8_t>;

struct Frame {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Bytes bytes;

    Color at(std::size_t x, std::size_t y) const {
        const std::uint8_t* pixel = &bytes[(y * width + x) * 4];
        return {pixel[2], pixel[1], pixel[0]};
    }
};

/* A copy of the newest frame; empty when there is none. */
Frame newestFrame(unsigned capture) {
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture);
    if (data.pData == nullptr)
        return {};
    Frame frame{data.dwWidth, data.dwHeight, Bytes(data.pData, data.pData + data.dwDataLen)};
    CapMgr_UnlockScreenBuffer(capture);
    return frame;
}

class CaptureTest : public testing::Test {
  protected:
    // The library's errors go nowhere: some tests cause them on purpose, and assert their effect.
    void SetUp() override { vq_set_trace_level(-1); }
    void TearDown() override {
        for (const unsigned capture : captures_)
            CapMgr_StopCapture(capture, 1);
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    void startServer(const std::string& screen, std::vector<std::string> arguments = {}) {
        server_ = std::make_unique<XvfbServer>(screen, std::move(arguments));
        useDisplay(server_->display());
        painter_ = std::make_unique<Painter>(server_->display());
    }

    unsigned newCapture() {
        captures_.push_back(CapMgr_GenerateCaptureIndex());
        return captures_.back();
    }

    static std::uint32_t start(unsigned capture) {
        const std::uint32_t result =
            CapMgr_StartCapture(capture, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                                CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE);
        CapMgr_SetMaxFrameRate(capture, 30);
        CapMgr_UpdateFrameRate(capture, 30);
        return result;
    }

    // A capture of a new server's painted scene, whose frames have begun to come.
    unsigned sceneCapture(std::vector<std::string> serverArguments = {}) {
        startServer("320x240x24", std::move(serverArguments));
        paintScene();
        const unsigned capture = newCapture();
        EXPECT_EQ(start(capture), 0U);
        EXPECT_TRUE(shows(capture, 200, 200, kBlue));
        return capture;
    }

    void paint(const Area& area, Color color) const {
        painter_->fill(area, color);
        painter_->sync();
    }

    // Three colours, so that the frame is not taken for an empty one.
    void paintScene() const {
        paint({0, 0, painter_->screenWidth(), painter_->screenHeight()}, kBlue);
        paint({10, 20, 100, 50}, kRed);
        paint({0, 100, 40, 40}, kGreen);
    }

    static bool shows(unsigned capture, std::size_t x, std::size_t y, Color color) {
        return eventually([&] {
            const Frame frame = newestFrame(capture);
            return !frame.bytes.empty() && frame.at(x, y) == color;
        });
    }

    std::unique_ptr<XvfbServer> server_;
    std::unique_ptr<Painter> painter_;
    std::vector<unsigned> captures_;
};

TEST_F(CaptureTest, FrameIsTheScreenToThePixel) {
    startServer("321x243x24");
    const PaintedScene scene(server_->display());
    const unsigned capture = newCapture();
    ASSERT_EQ(start(capture), 0U);
    const Bytes screen = bytesOf(imageOf(0, 0, 321, 243).get());
    EXPECT_TRUE(eventually([&] { return newestFrame(capture).bytes == screen; }));
}

TEST_F(CaptureTest, FrameHasTheSizeOfTheDisplayUnlessSet) {
    startServer("321x243x24");
    paintScene();
    const unsigned capture = newCapture();
    ASSERT_EQ(start(capture), 0U);
    ASSERT_TRUE(eventually([&] { return !newestFrame(capture).bytes.empty(); }));
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture);
    EXPECT_EQ(data.dwWidth, 321U);
    EXPECT_EQ(data.dwHeight, 243U);
    EXPECT_EQ(data.dwDataLen, 321U * 243U * 4U);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(capture), 3U);
}

TEST_F(CaptureTest, FrameOfASizeSetBeforeTheStartIsTheScaledScreen) {
    startServer("640x480x24");
    const PaintedScene scene(server_->display());
    const unsigned capture = newCapture();
    ASSERT_TRUE(CapMgr_SetCaptureFrameSize(capture, {427, 320}));
    ASSERT_EQ(start(capture), 0U);
    const Bytes screen = bytesOf(imageOf(0, 0, 640, 480).get());
    Bytes scaled(427 * 320 * 4);
    BilinearInterpolation(screen.data(), 640, 480, scaled.data(), 427, 320, 4);
    EXPECT_TRUE(eventually([&] { return newestFrame(capture).bytes == scaled; }));
}

TEST_F(CaptureTest, SizeSetWhileCapturingTakesEffect) {
    startServer("640x480x24");
    paintScene();
    const unsigned capture = newCapture();
    ASSERT_EQ(start(capture), 0U);
    ASSERT_TRUE(CapMgr_SetCaptureFrameSize(capture, {320, 240}));
    EXPECT_TRUE(eventually([&] {
        const Frame frame = newestFrame(capture);
        return frame.width == 320 && frame.height == 240 && frame.at(150, 200) == kBlue;
    }));
}

TEST_F(CaptureTest, FramesFollowTheScreen) {
    const unsigned capture = sceneCapture();
    paint({190, 190, 20, 20}, kGreen);
    EXPECT_TRUE(shows(capture, 200, 200, kGreen));
}

TEST_F(CaptureTest, PauseHoldsThePictureUntilResumed) {
    startServer("320x240x24");
    paintScene();
    const unsigned capture = newCapture();
    const unsigned witness = newCapture();
    ASSERT_EQ(start(capture), 0U);
    ASSERT_EQ(start(witness), 0U);
    ASSERT_TRUE(shows(capture, 200, 200, kBlue));
    ASSERT_TRUE(CapMgr_PauseCapture(capture));
    // A round that had begun may still deliver the first change; it is over when another capture
    // has seen that.
    paint({190, 190, 20, 20}, kGreen);
    ASSERT_TRUE(shows(witness, 200, 200, kGreen));
    paint({190, 190, 20, 20}, kRed);
    ASSERT_TRUE(shows(witness, 200, 200, kRed));
    EXPECT_NE(newestFrame(capture).at(200, 200), kRed);
    ASSERT_TRUE(CapMgr_ResumeCapture(capture));
    EXPECT_TRUE(shows(capture, 200, 200, kRed));
}

TEST_F(CaptureTest, SeveralCapturesRunSideBySide) {
    startServer("320x240x24");
    paintScene();
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(start(newCapture()), 0U);
    paint({190, 190, 20, 20}, kRed);
    for (const unsigned capture : captures_)
        EXPECT_TRUE(shows(capture, 200, 200, kRed));
}

TEST_F(CaptureTest, LockedFrameStaysStillWhileTheScreenChanges) {
    startServer("320x240x24");
    paintScene();
    const unsigned capture = newCapture();
    const unsigned witness = newCapture();
    ASSERT_EQ(start(capture), 0U);
    ASSERT_EQ(start(witness), 0U);
    ASSERT_TRUE(shows(capture, 200, 200, kBlue));
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture);
    const Bytes before(data.pData, data.pData + data.dwDataLen);
    paint({190, 190, 20, 20}, kRed);
    ASSERT_TRUE(shows(witness, 200, 200, kRed));
    EXPECT_EQ(std::memcmp(before.data(), data.pData, before.size()), 0);
    CapMgr_UnlockScreenBuffer(capture);
    EXPECT_TRUE(shows(capture, 200, 200, kRed));
}

TEST_F(CaptureTest, ScreenOfOneColourIsDeliveredAfterAll) {
    startServer("320x240x24");
    paint({0, 0, 320, 240}, kGreen);
    const unsigned capture = newCapture();
    ASSERT_EQ(start(capture), 0U);
    EXPECT_TRUE(shows(capture, 10, 10, kGreen));
}

TEST_F(CaptureTest, StoppedCaptureStartsAgainOnTheSameIndex) {
    const unsigned capture = sceneCapture();
    ASSERT_TRUE(CapMgr_StopCapture(capture, 0));
    EXPECT_EQ(CapMgr_LockScreenBuffer(capture).pData, nullptr);
    ASSERT_EQ(start(capture), 0U);
    EXPECT_TRUE(shows(capture, 200, 200, kBlue));
}

TEST_F(CaptureTest, HostOutlivesTheServerAndStops) {
    const unsigned capture = sceneCapture({ownDisplay()});
    painter_.reset();
    server_.reset();
    EXPECT_TRUE(shows(capture, 200, 200, Color{}));  // black: there is no image any more
    EXPECT_TRUE(CapMgr_StopCapture(capture, 0));
}

TEST_F(CaptureTest, WithoutServerThereIsNoMonitorToStart) {
    useDisplay("");
    EXPECT_EQ(CapMgr_GetMonitorCount(), 0U);
    EXPECT_NE(start(newCapture()), 0U);
}

/* What a capture takes and has to give back. */
struct Holdings {
    ProcessResources resources = ProcessResources::now();
    std::ptrdiff_t threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                           std::filesystem::directory_iterator());

    bool fitIn(const Holdings& other) const {
        return resources.descriptors <= other.resources.descriptors &&
               resources.imageMappings <= other.resources.imageMappings &&
               resources.systemVSegments <= other.resources.systemVSegments &&
               threads <= other.threads;
    }
};

void PrintTo(const Holdings& holdings, std::ostream* out) {
    *out << testing::PrintToString(holdings.resources) << ", " << holdings.threads << " threads";
}

/* By which of the ways that images take. */
enum class Rung { Descriptors, Identifiers, Replies };

class CaptureLeakTest : public CaptureTest, public testing::WithParamInterface<Rung> {};

TEST_P(CaptureLeakTest, HundredStartsAndStopsLeaveNothingBehind) {
    std::optional<NoLargeFiles> noMemoryByDescriptor;
    if (GetParam() == Rung::Identifiers)
        noMemoryByDescriptor.emplace();
    startServer("320x240x24", GetParam() == Rung::Replies
                                  ? std::vector<std::string>{"-extension", "MIT-SHM"}
                                  : std::vector<std::string>{});
    paintScene();
    const unsigned capture = newCapture();
    const auto startAndStop = [&] {
        ASSERT_EQ(start(capture), 0U);
        ASSERT_TRUE(shows(capture, 200, 200, kBlue));
        ASSERT_TRUE(CapMgr_StopCapture(capture, 0));
    };
    startAndStop();  // what is made once and kept, such as this thread's connection, is there now
    // A thread that is about to end may be counted in; each of a hundred that stayed would show.
    const Holdings before;
    for (int i = 0; i < 100; ++i)
        startAndStop();
    // The thread is detached, so its last steps may come after the stop has returned.
    EXPECT_TRUE(eventually([&] { return Holdings().fitIn(before); }))
        << testing::PrintToString(before) << " before, " << testing::PrintToString(Holdings());
}

INSTANTIATE_TEST_SUITE_P(Rungs, CaptureLeakTest,
                         testing::Values(Rung::Descriptors, Rung::Identifiers, Rung::Replies));

}  // namespace
