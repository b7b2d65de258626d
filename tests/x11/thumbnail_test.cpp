/* Small pictures of whole displays, on top of a real server. */
#include <Monitor.h>
#include <MonitorManager.h>
#include <gmock/gmock.h>
#include <vqutilc.h>

#include <numeric>
#include <utility>

#include "screen_test.h"
#include "window_client.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class ThumbnailTest : public testing::Test {
  protected:
    void TearDown() override {
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    void startServer(const std::string& screen) {
        server_ = std::make_unique<XvfbServer>(screen);
        useDisplay(server_->display());
        painter_ = std::make_unique<Painter>(server_->display());
    }

    static Bytes draw(int width, int height) {
        Bytes bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
        EXPECT_TRUE(
            CMonitorManager::GetInstance()->GetScreenThumbnail(0, width, height, bytes.data()));
        return bytes;
    }

    std::unique_ptr<XvfbServer> server_;
    std::unique_ptr<Painter> painter_;
};

// A pattern finer than a pixel of the thumbnail would alias if pixels were picked out.
TEST_F(ThumbnailTest, BlendsWhatIsFinerThanItsPixels) {
    startServer("3840x2160x24");
    painter_->fill({0, 0, 3840, 2160}, {0, 0, 0});
    for (std::int16_t x = 0; x < 3840; x = static_cast<std::int16_t>(x + 2))
        painter_->fill({x, 0, 1, 2160}, {200, 100, 50});
    painter_->sync();
    const Bytes bytes = draw(160, 90);
    for (std::size_t i = 0; i < bytes.size(); i += 4)
        ASSERT_THAT(Bytes(&bytes[i], &bytes[i] + 4), testing::ElementsAre(25, 50, 100, 255)) << i;
}

// Neither size of the second divides the display's, so that its pixels begin within a square.
TEST_F(ThumbnailTest, CheckerboardOfPixelsBecomesAnEvenGrey) {
    startServer("3840x2160x24");
    const WindowClient desktop(server_->display());
    desktop.setBackdrop({0, 0, 0}, {255, 255, 255}, 1);
    desktop.sync();
    for (const auto& [width, height] : {std::pair(160, 90), std::pair(157, 89)}) {
        const Bytes bytes = draw(width, height);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            ASSERT_NEAR(bytes[i], i % 4 == 3 ? 255 : 127.5, i % 4 == 3 ? 0 : 1.5)
                << width << ": " << i;
    }
}

TEST_F(ThumbnailTest, LineOfOnePixelKeepsItsMean) {
    startServer("3840x2160x24");
    painter_->fill({0, 0, 3840, 2160}, {0, 0, 0});
    painter_->fill({1000, 0, 1, 2160}, {240, 120, 24});
    painter_->sync();
    const Bytes bytes = draw(160, 90);
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const Bytes expected =
            i / 4 % 160 == 1000 / 24 ? Bytes{1, 5, 10, 255} : Bytes{0, 0, 0, 255};
        ASSERT_EQ(Bytes(&bytes[i], &bytes[i] + 4), expected) << i;
    }
}

// Not of one pixel only, but of the picture: as much light goes in as comes out.
TEST_F(ThumbnailTest, PictureKeepsItsMean) {
    startServer("1000x700x24");
    const PaintedScene scene(server_->display());
    const Image image = imageOf(0, 0, 1000, 700);
    const auto meanOf = [](const Bytes& bytes) {
        return std::accumulate(bytes.begin(), bytes.end(), 0.0) / static_cast<double>(bytes.size());
    };
    EXPECT_NEAR(meanOf(draw(73, 41)), meanOf(bytesOf(image.get())), 0.1);
}

TEST_F(ThumbnailTest, ShowsTheDisplayUpright) {
    startServer("320x200x24");
    painter_->fill({0, 0, 320, 200}, {10, 20, 30});
    painter_->fill({0, 0, 160, 100}, {200, 100, 50});
    painter_->sync();
    const Bytes bytes = draw(2, 2);
    EXPECT_EQ((Bytes{bytes[0], bytes[1], bytes[2]}), (Bytes{50, 100, 200}));
    EXPECT_EQ((Bytes{bytes[4], bytes[5], bytes[6]}), (Bytes{30, 20, 10}));
    EXPECT_EQ((Bytes{bytes[8], bytes[9], bytes[10]}), (Bytes{30, 20, 10}));
}

struct SmallPixels {
    const char* screen;
    unsigned bits;  // of a pixel, as the monitor tells; 0 where it knows no name for the format
};

// Rows of such a display's pixels have no room for the image's of 32 bits: refused, nothing
// written.
TEST_F(ThumbnailTest, IsRefusedWhereTheDisplaysPixelsAreSmallerThanTheImages) {
    for (const SmallPixels& display :
         {SmallPixels{"320x200x8", 8}, {"320x200x15", 16}, {"320x200x16", 16}, {"320x200x30", 0}}) {
        startServer(display.screen);
        vq_set_trace_level(-1);  // it is an error, and told
        CMonitorManager* const manager = CMonitorManager::GetInstance();
        ASSERT_EQ(manager->GetMonitor(0)->GetBitsPerPixel(), display.bits);
        Bytes bytes(4 * 32 * 20, 0xEE);
        EXPECT_FALSE(manager->GetScreenThumbnail(0, 32, 20, bytes.data())) << display.screen;
        EXPECT_EQ(bytes, Bytes(bytes.size(), 0xEE)) << display.screen;
        CMonitorManager::DeleteInstance();
    }
}

TEST_F(ThumbnailTest, IsRefusedWithoutAServer) {
    startServer("320x200x24");
    CMonitorManager* const manager = CMonitorManager::GetInstance();
    ASSERT_EQ(manager->GetCount(), 1U);
    painter_.reset();
    server_.reset();
    useDisplay("");  // another test's server may take the number over
    Bytes bytes(16, 0xEE);
    EXPECT_FALSE(manager->GetScreenThumbnail(0, 2, 2, bytes.data()));
    EXPECT_EQ(bytes, Bytes(16, 0xEE));
}

}  // namespace
