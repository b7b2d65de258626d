// CCaptureMac: excluded windows and the shared window.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bounded_memory_faults.h"
#include "mac_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Excluded windows.

class MacCaptureWithout : public MacCapture {
  protected:
    void SetUp() override {
        MacCapture::SetUp();
        scripted::showWindows({31, 7, 52, 7000, 18});
    }

    void exclude(std::initializer_list<uintptr_t> windows) {
        initialised();
        for (const uintptr_t number : windows) {
            capture_->SetExcludeWnd(window(number), CAP_EXC_WND_ADD);
        }
        forgetEverything();
    }
};

TEST_F(MacCaptureWithout, takesTheOtherWindows) {
    exclude({7, 18});
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(
        scripted::callsOf({"CGWindowListCreateImage", "CGWindowListCreate",
                           "CFArrayCreateMutableCopy", "CFArrayRemoveValueAtIndex",
                           "CGWindowListCreateImageFromArray"}),
        ElementsAre("CGWindowListCreate(1, 0) -> array#3",
                    "CFArrayCreateMutableCopy(0, array#3) -> array#4",
                    "CFArrayRemoveValueAtIndex(array#4, 4)",
                    "CFArrayRemoveValueAtIndex(array#4, 1)",
                    "CGWindowListCreateImageFromArray({-161, -45, 161, 91}, \"[31 52 7000]\", 0) "
                    "-> image#2"));
    EXPECT_EQ(buffer(), picture());
}

// Nothing is shown rather than what was to be left out, and the host lives on.
TEST_F(MacCaptureWithout, isBlackWhenMemoryIsShort) {
    exclude({7, 18, 52, 99, 31, 1, 2});
    memory_faults::failSingleAllocation(7 * sizeof(void*));
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 0U);
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(buffer(), picture());
}

TEST_F(MacCaptureWithout, walksTheListFromItsEnd) {
    exclude({7});
    capture_->DoCapture();
    EXPECT_THAT(
        scripted::callsOf({"CFArrayGetValueAtIndex"}),
        ElementsAre("CFArrayGetValueAtIndex(array#4, 4)", "CFArrayGetValueAtIndex(array#4, 3)",
                    "CFArrayGetValueAtIndex(array#4, 2)", "CFArrayGetValueAtIndex(array#4, 1)",
                    "CFArrayGetValueAtIndex(array#4, 0)"));
}

TEST_F(MacCaptureWithout, releasesTheCopyThenTheList) {
    exclude({7});
    capture_->DoCapture();
    EXPECT_THAT(scripted::callsOf({"CFRelease", "CGWindowListCreateImageFromArray"}),
                testing::Contains("CFRelease(array#4)"));
    const auto releases = scripted::callsOf({"CFRelease"});
    ASSERT_GE(releases.size(), 2U);
    EXPECT_EQ(releases[0], "CFRelease(array#4)");
    EXPECT_EQ(releases[1], "CFRelease(array#3)");
}

TEST_F(MacCaptureWithout, removesNothingForAWindowThatIsNotOnScreen) {
    exclude({99});
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(scripted::countCalls("CFArrayRemoveValueAtIndex"), 0U);
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImageFromArray"}),
                ElementsAre(testing::HasSubstr("\"[31 7 52 7000 18]\"")));
}

TEST_F(MacCaptureWithout, tracesThatWindowsAreExcluded) {
    exclude({99});
    capture_->DoCapture();
    const auto messages = trace_recorder::messages();
    const auto expected = frameMessages(false);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), messages.begin()));
}

class FailingWindowList : public MacCaptureWithout,
                          public testing::WithParamInterface<const char*> {};

// Rather black than a window that was to be left out.
TEST_P(FailingWindowList, deliversBlack) {
    exclude({7});
    scripted::fail(GetParam());
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 0U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureMac::DoCapture()... imageRef is null!")));
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingWindowList,
                         testing::Values("CGWindowListCreate", "CFArrayCreateMutableCopy",
                                         "CGWindowListCreateImageFromArray"));

// One application window.

TEST_F(MacCapture, takesTheSharedWindowAlone) {
    initialised(CAP_TYPE_APP_WINDOW);
    capture_->SetSharedAppWnd(52, CAP_APP_WND_SET);
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImage"}),
                ElementsAre("CGWindowListCreateImage({-161, -45, 161, 91}, 8, 52, 0) -> image#2"));
}

TEST_F(MacCapture, isBlackWithoutASharedWindow) {
    initialised(CAP_TYPE_APP_WINDOW);
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    EXPECT_THAT(scripted::calls(), IsEmpty());
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureMac::DoCapture()... Invalid Param m_nWndCaptureID is "
                                  "null !"),
                            error("CCaptureMac::DoCapture()... imageRef is null!")));
    EXPECT_EQ(trace_recorder::rawTexts()[3], "[KXSS]CCaptureMac::DoCapture imageRef: 0x0");
}

TEST_F(MacCapture, ignoresExcludedWindowsForASharedWindow) {
    initialised(CAP_TYPE_APP_WINDOW);
    capture_->SetSharedAppWnd(52, CAP_APP_WND_SET);
    capture_->SetExcludeWnd(window(52), CAP_EXC_WND_ADD);
    capture_->DoCapture();
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 1U);
    EXPECT_EQ(scripted::countCalls("CGWindowListCreate"), 0U);
}

class OtherType : public MacCapture, public testing::WithParamInterface<int> {};

TEST_P(OtherType, capturesNothing) {
    initialised(GetParam());
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Types, OtherType, testing::Values(2, 3, -1));
}  // namespace
