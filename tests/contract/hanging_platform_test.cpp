// A platform call that does not come back while a capture is stopped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_test.h"
#include "thread_watch.h"

namespace {

// The host must live on when the platform does not answer, and so must the memory of what it freed.
class HangingPlatform : public ContractTest, public testing::WithParamInterface<bool> {};

TEST_P(HangingPlatform, neverSeesTheFreedCaptureWhenItGoesOn) {
    const unsigned int index = startedCapture();
    scripted::hang("CGWindowListCreateImage", GetParam());
    driven_time::wake();
    ASSERT_TRUE(scripted::awaitHang());
    driven_time::timeOutNextEventWait();
    EXPECT_TRUE(CapMgr_StopCapture(index, 0));
    EXPECT_EQ(thread_watch::cancelled(), 1U);
    forgetEverything();
    driven_time::runFreely();
    scripted::letGo();
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(trace_recorder::messagesOfOtherThreads(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cancellable, HangingPlatform, testing::Bool(),
                         [](const auto& instance) { return instance.param ? "yes" : "no"; });
}  // namespace
