/* Small pictures of whole displays, on top of a real server. */
#include <Monitor.h>
#include <MonitorManager.h>
#include <vqutilc.h>

#include "screen_test.h"

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
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        ASSERT_EQ(bytes[i], 25) << i;
        ASSERT_EQ(bytes[i + 1], 50) << i;
        ASSERT_EQ(bytes[i + 2], 100) << i;
    }
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

// Rows of a display of 16 bits a pixel have no room for the image's 32: refused, nothing written.
TEST_F(ThumbnailTest, IsRefusedWhereTheDisplaysPixelsAreSmallerThanTheImages) {
    startServer("320x200x16");
    vq_set_trace_level(-1);  // it is an error, and told
    CMonitorManager* const manager = CMonitorManager::GetInstance();
    ASSERT_EQ(manager->GetMonitor(0)->GetBitsPerPixel(), 16U);
    Bytes bytes(2 * 32 * 20, 0xEE);
    EXPECT_FALSE(manager->GetScreenThumbnail(0, 32, 20, bytes.data()));
    EXPECT_EQ(bytes, Bytes(bytes.size(), 0xEE));
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
