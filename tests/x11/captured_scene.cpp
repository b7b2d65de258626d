#include "captured_scene.h"

#include <CaptureManager.h>
#include <MonitorManager.h>
#include <vqutilc.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "screen_test.h"

namespace {

constexpr std::size_t kBytesPerPixel = 4;
constexpr Area kSpot{190, 150, 60, 40};

Color spotColor(std::uint8_t shade) {
    return {shade, 200, 90};
}

std::size_t placeOf(std::int16_t x, std::int16_t y) {
    return (static_cast<std::size_t>(y) * CapturedScene::kWidth + static_cast<std::size_t>(x)) *
           kBytesPerPixel;
}

void fill(std::vector<std::uint8_t>& picture, const Area& area, Color color) {
    for (int y = area.y; y < area.y + area.height; ++y) {
        std::size_t place = placeOf(area.x, static_cast<std::int16_t>(y));
        for (int x = 0; x < area.width; ++x)
            for (const std::uint8_t byte : {color.blue, color.green, color.red, std::uint8_t{255}})
                picture[place++] = byte;
    }
}

}  // namespace

CapturedScene::CapturedScene(std::string display, const std::string& way)
    : display_(std::move(display)), picture_(std::size_t{kWidth} * kHeight * kBytesPerPixel) {
    // Painters connect while the capture does. Where the X client library has to make up the name
    // of this file, it keeps it in memory that all threads share, without a lock.
    setenv("XAUTHORITY", "/dev/null", 1);
    paintOnNewServer();
    isBeingPainted_ = false;
    vq_set_trace_level(-1);  // what tests cause on purpose is asserted by its effect
    useDisplay(way);
    CapMgr_UpdateMonitor();
    index_ = CapMgr_GenerateCaptureIndex();
}

CapturedScene::~CapturedScene() {
    CapMgr_StopCapture(index_, 1);
    CMonitorManager::DeleteInstance();
    vq_set_trace_level(0);
}

std::uint32_t CapturedScene::start(unsigned framesPerSecond) {
    CapMgr_SetMaxFrameRate(index_, framesPerSecond);
    const std::uint32_t result =
        CapMgr_StartCapture(index_, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                            CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE);
    CapMgr_UpdateFrameRate(index_, framesPerSecond);
    return result;
}

std::chrono::milliseconds CapturedScene::stop() {
    const auto then = std::chrono::steady_clock::now();
    EXPECT_TRUE(CapMgr_StopCapture(index_, 0));
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 then);
}

void CapturedScene::paint(const Area& area, Color color) {
    painter_->fill(area, color);
    fill(picture_, area, color);
}

/* Until all of it has been seen once, a frame may have a part of it. It is another picture than
 * that of the server before, of which there may still be a frame. */
void CapturedScene::paintOnNewServer() {
    isBeingPainted_ = true;
    painter_.emplace(display_);
    // Several colours, so that a frame is not taken for an empty one.
    paint({0, 0, kWidth, kHeight}, {50, 60, 220});
    paint({10, 20, 100, 50}, {200, 10, 20});
    paint({0, 100, 40, 40}, {30, 180, 40});
    paint({300, 220, 20, 20}, {255, 255, 255});
    paint(kSpot, spotColor(++shade_));
    painter_->sync();
}

void CapturedScene::change() {
    paint(kSpot, spotColor(++shade_));
    painter_->sync();
}

void CapturedScene::paintOneColour() {
    isBeingPainted_ = true;  // what was before is no older state of what is now
    paint({0, 0, kWidth, kHeight}, {90, 90, 90});
    painter_->sync();
}

bool CapturedScene::comes() {
    return awaitSight(Sight::newest);
}

bool CapturedScene::follows() {
    change();
    return comes();
}

bool CapturedScene::turnsBlack() {
    return awaitSight(Sight::black);
}

bool CapturedScene::awaitSight(Sight sight) {
    return eventually([&] { return look() == sight; }, std::chrono::seconds(30));
}

CapturedScene::Sight CapturedScene::look() {
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(index_);
    if (data.pData == nullptr)
        return Sight::nothing;
    const Bytes frame(data.pData, data.pData + data.dwDataLen);
    CapMgr_UnlockScreenBuffer(index_);
    const bool isOfItsSize = data.dwWidth == kWidth && data.dwHeight == kHeight;
    const Sight sight = isOfItsSize ? judge(frame) : Sight::nothing;
    if (sight == Sight::newest)
        isBeingPainted_ = false;
    if (sight == Sight::nothing && !(isOfItsSize && isBeingPainted_))
        ++wrongFrames_;
    return sight;
}

CapturedScene::Sight CapturedScene::judge(const Bytes& frame) const {
    if (std::ranges::count(frame, 0) == std::ssize(frame))
        return Sight::black;
    if (frame == picture_)
        return Sight::newest;
    Bytes older = picture_;
    const std::uint8_t shade = frame[placeOf(kSpot.x, kSpot.y) + 2];
    fill(older, kSpot, spotColor(shade));
    return shade < shade_ && frame == older ? Sight::older : Sight::nothing;
}

void expectBoundedStop(CapturedScene& capture) {
    const auto took = capture.stop();
    EXPECT_LT(took, std::chrono::seconds(10));
    testing::Test::RecordProperty("stop_ms", std::to_string(took.count()));
}
