// A capture of a display that is cancelled while a reader keeps the frame.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "contract_test.h"
#include "thread_watch.h"

namespace {

constexpr auto kBound = std::chrono::seconds(10);

class CancelledCapture : public ContractTest {
  protected:
    // A capture that is stopped, and its thread cancelled, with an image in hand on its way to the
    // buffer.
    static unsigned int cancelled() {
        const unsigned int index = startedCapture();
        EXPECT_NE(CapMgr_LockScreenBuffer(index).pData, nullptr);
        driven_time::wake();
        EXPECT_TRUE(awaitImage());
        driven_time::timeOutNextEventWait();
        EXPECT_TRUE(CapMgr_StopCapture(index, 0));
        EXPECT_EQ(thread_watch::cancelled(), 1U);
        EXPECT_TRUE(thread_watch::awaitNone());
        return index;
    }

  private:
    static bool awaitImage() {
        const auto end = std::chrono::steady_clock::now() + kBound;
        while (scripted::countCalls("CFDataGetBytePtr") == 0) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }
};

// No destructor of the thread's need have run.
TEST_F(CancelledCapture, letsGoOfTheImageThatItHolds) {
    cancelled();
    EXPECT_EQ(scripted::leaks(), std::vector<std::string>());
}

TEST_F(CancelledCapture, isStartedAgainOnItsIndex) {
    const unsigned int index = cancelled();
    driven_time::reset();
    EXPECT_EQ(CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE),
              0U);
    ASSERT_TRUE(driven_time::awaitSleep());
    EXPECT_NE(CapMgr_LockScreenBuffer(index).pData, nullptr);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
}

}  // namespace
