// Bounded memory calls of a capture object that fail one at a time: each is reported alone, and the
// operation goes on with the others.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "failed_call.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;

constexpr const char* kClearedSizes[] = {
    "memset_s(&m_sOriFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))",
    "memset_s(&m_sFinalFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))",
    "memset_s(&m_sCapFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))"};

// Those of SetFrameSize: to a smaller size, to the monitor's own.
constexpr const char* kClearBuffer =
    "memset_s(m_lpBuffer, m_nbufSize * sizeof(uint8), 0, m_nbufSize * sizeof(uint8))";
constexpr const char* kClearAppBuffer =
    "memset_s(m_lpAppBuffer, m_nbufSize * sizeof(uint8), 0, m_nbufSize * sizeof(uint8))";
class FailedCallInTurn : public FailedCall {
  protected:
    static constexpr int kCode = -22;

    // The next calls: the one after skip others fails.
    static void failAfter(size_t skip) {
        trace_recorder::forget();
        memory_faults::failBoundedCalls(kCode, skip, 1);
    }
};

class ScalerMadeWith : public FailedCallInTurn, public testing::WithParamInterface<size_t> {};

TEST_P(ScalerMadeWith, aSizeThatIsNotClearedReportsIt) {
    failAfter(GetParam());
    CCaptureScaling scaling;
    EXPECT_THAT(reports(), ElementsAre(failedCall(kClearedSizes[GetParam()], kCode)));
    EXPECT_EQ(scaling.RefreshScalingAlg(), 0) << "zero all the same";
}

INSTANTIATE_TEST_SUITE_P(Sizes, ScalerMadeWith, testing::Values(0U, 1U, 2U));

struct Place {
    size_t skip;
    CAP_SIZE size;
    const char* call;
    CAP_SIZE delivered;
};

class SizeSetWith : public FailedCallInTurn, public testing::WithParamInterface<Place> {};

// The monitor is 21 x 13; the size before was 7 x 6.
TEST_P(SizeSetWith, aFailedCallReportsItAndGoesOn) {
    const Place& place = GetParam();
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    capture.AllocBuffer(ScriptedCapture::kBytes);
    capture.SetFrameSize({7, 6});
    failAfter(place.skip);
    EXPECT_TRUE(capture.SetFrameSize(place.size));
    EXPECT_THAT(reports(), ElementsAre(failedCall(place.call, kCode)));
    EXPECT_EQ(
        trace_recorder::messages().back(),
        information("CCaptureBase::SetFrameSize...End! w: " + std::to_string(place.size.dwWidth) +
                    ",h:" + std::to_string(place.size.dwHeight)));
    const CAP_SIZE delivered = capture.m_oScaling.GetCapFrameSize();
    EXPECT_EQ(delivered.dwWidth, place.delivered.dwWidth);
    EXPECT_EQ(delivered.dwHeight, place.delivered.dwHeight);
}

INSTANTIATE_TEST_SUITE_P(Places, SizeSetWith,
                         testing::Values(Place{0, {5, 4}, kClearBuffer, {5, 4}},
                                         Place{1, {5, 4}, kClearAppBuffer, {5, 4}},
                                         Place{2, {5, 4}, kCopySource, {5, 4}},
                                         Place{3, {5, 4}, kCopyTarget, {7, 6}},
                                         Place{4, {5, 4}, kDeliverTarget, {7, 6}},
                                         Place{3, {21, 13}, kCopyTarget, {7, 6}},
                                         Place{4, {21, 13}, kDeliverSource, {7, 6}}));

class FailedCallOfAFrame : public FailedCallInTurn {
  protected:
    void SetUp() override {
        FailedCallInTurn::SetUp();
        capture_.AllocBuffer(ScriptedCapture::kBytes);
        std::memset(capture_.m_lpBuffer, 0x3C, ScriptedCapture::kBytes);
    }

    ScriptedCapture capture_;
};

TEST_F(FailedCallOfAFrame, leavesTheRecordToFillAsEver) {
    capture_.OnCaptureSuccess();
    failAfter(0);
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.pData, capture_.m_lpBuffer);
    EXPECT_EQ(data.dwDataLen, ScriptedCapture::kBytes);
    capture_.UnlockBuffer();
}

TEST_F(FailedCallOfAFrame, leavesTheRecordZeroWithoutAFrame) {
    failAfter(0);
    const CAP_DESKTOP_DATA zero{};
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(std::memcmp(&data, &zero, sizeof data), 0);
    EXPECT_EQ(trace_recorder::messages().size(), 1U);
}

TEST_F(FailedCallOfAFrame, leavesTheOldFrameOfTheHost) {
    const unsigned char pixel[4] = {1, 2, 3, 4};
    failAfter(0);
    capture_.UpdateBuffer(pixel, sizeof pixel);
    EXPECT_EQ(capture_.m_lpBuffer[0], 0x3C);
    EXPECT_EQ(capture_.m_dwUpdateCount, 1U);
    EXPECT_THAT(reports(),
                ElementsAre(failedCall("memcpy_s(m_lpBuffer, m_nbufSize, pData, nLen)", kCode)));
}

// The delivered size stays as it was, and the frame is made all the same.
TEST_F(FailedCallOfAFrame, leavesTheScalerToWork) {
    std::vector<unsigned char> picture(ScriptedCapture::kBytes, 0x11);
    failAfter(0);
    EXPECT_EQ(capture_.Resize(picture.data(), ScriptedCapture::kWidth * 4), 1U);
    EXPECT_EQ(std::memcmp(capture_.m_lpBuffer, picture.data(), picture.size()), 0);
    EXPECT_THAT(reports(), ElementsAre(failedCall(kDeliverSource, kCode)));
}

}  // namespace
