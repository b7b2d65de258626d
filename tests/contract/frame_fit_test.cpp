// CCaptureMac: frames of displays that change between creation, first image and any frame. What
// does not fit is not delivered, and nothing is written or read past an end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "mac_capture.h"

namespace {

using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Picture {
    size_t width;
    size_t height;
    size_t padding = 0;
};

constexpr Picture kOwn{161, 91};

// The display when the capture is made is the fixture's: 161 x 91.
struct Change {
    const char* name;
    Picture atInit;
    Picture atFrame;
    CAP_SIZE delivered{161, 91};
    bool fits = false;
};

void PrintTo(const Change& change, std::ostream* out) {
    *out << change.name;
}

class FrameFit : public MacCapture, public testing::WithParamInterface<Change> {
  protected:
    static void show(const Picture& picture) {
        scripted::resize(kMain, picture.width, picture.height);
        scripted::change(kMain, [&picture](scripted::Display& display) {
            display.rowPadding = picture.padding;
        });
    }

    // With the image of Init measured, and the one of a frame to come.
    VisibleCapture& changed() {
        make();
        show(GetParam().atInit);
        EXPECT_TRUE(capture_->Init());
        EXPECT_TRUE(capture_->SetFrameSize(GetParam().delivered));
        std::fill_n(capture_->m_lpBuffer, capture_->m_nbufSize.load(), kOldByte);
        show(GetParam().atFrame);
        forgetEverything();
        return *capture_;
    }
};

TEST_P(FrameFit, isDeliveredIfItFitsAndIsAFailureOtherwise) {
    VisibleCapture& capture = changed();
    EXPECT_EQ(capture.DoCapture(), GetParam().fits);
    const auto told = Contains(Field(&Message::text, HasSubstr("fit!")));
    if (GetParam().fits) {
        EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
        EXPECT_FALSE(bufferIsAll(kOldByte));
    } else {
        EXPECT_THAT(trace_recorder::messagesOfLevel(0), told);
        EXPECT_TRUE(bufferIsAll(kOldByte));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Displays, FrameFit,
    testing::Values(
        Change{.name = "unchanged", .atInit = kOwn, .atFrame = kOwn, .fits = true},
        Change{.name = "narrowerAtFirst", .atInit = {160, 91}, .atFrame = kOwn},
        Change{.name = "lowerAtFirst", .atInit = {161, 90}, .atFrame = kOwn},
        Change{.name = "tinyAtFirst", .atInit = {1, 1}, .atFrame = kOwn},
        Change{.name = "turnedAtFirst", .atInit = {91, 161}, .atFrame = kOwn},
        Change{.name = "turnedAtFirstWithTheSamePitch",
               .atInit = {91, 161, 280},
               .atFrame = kOwn,
               .fits = true},
        Change{.name = "largerAtFirst", .atInit = {322, 182}, .atFrame = kOwn},
        Change{.name = "higherAtFirst", .atInit = {161, 182}, .atFrame = kOwn, .fits = true},
        Change{.name = "lowerAtFirstAndScaledDown",
               .atInit = {161, 45},
               .atFrame = kOwn,
               .delivered = {80, 45},
               .fits = true},
        Change{.name = "tinyAtFirstAndScaledDown",
               .atInit = {1, 1, 640},
               .atFrame = kOwn,
               .delivered = {2, 1}},
        Change{.name = "paddedAtFirst", .atInit = {161, 91, 4}, .atFrame = kOwn},
        Change{.name = "paddedAtFirstAndScaledDown",
               .atInit = {161, 91, 4},
               .atFrame = kOwn,
               .delivered = {80, 45}},
        Change{.name = "paddedLater", .atInit = kOwn, .atFrame = {161, 91, 4}, .fits = true}),
    [](const auto& instance) { return std::string(instance.param.name); });

// A display without an image counts as a black frame, whatever it was measured as.
TEST_F(MacCapture, handsNoFrameOutThatIsLargerThanItsBuffer) {
    make();
    scripted::resize(kMain, 161, 90);
    ASSERT_TRUE(capture_->Init());
    scripted::fail("CGWindowListCreateImage");
    EXPECT_TRUE(capture_->DoCapture());
    capture_->OnCaptureSuccess();
    EXPECT_EQ(capture_->LockBuffer().pData, nullptr);
    ASSERT_TRUE(capture_->SetFrameSize({161, 90}));
    const CAP_DESKTOP_DATA frame = capture_->LockBuffer();
    EXPECT_EQ(frame.pData, capture_->m_lpBuffer);
    EXPECT_EQ(frame.dwDataLen, capture_->m_nbufSize);
    capture_->UnlockBuffer();
}

// The sizes' product is more than 32 bits hold.
TEST_F(MacCapture, handsNoFrameOutWhoseLengthIsNotANumber) {
    const CMonitor monitor(0, 0x10000, 0x10000, 32);
    VisibleCapture& capture = capture_.emplace(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    capture.AllocBuffer(64);
    capture.OnCaptureSuccess();
    EXPECT_EQ(capture.LockBuffer().pData, nullptr);
}

TEST_F(MacCapture, repacksNoRowsThatItHasNot) {
    make();
    scripted::resize(kMain, 161, 90);
    ASSERT_TRUE(capture_->Init());
    ASSERT_NE(capture_->m_pRowBuffer, nullptr);
    std::fill_n(capture_->m_lpBuffer, capture_->m_nbufSize.load(), kOldByte);
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_TRUE(bufferIsAll(kOldByte));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), Not(IsEmpty()));
}

}  // namespace
