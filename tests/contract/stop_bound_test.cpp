// A stop comes back although another thread keeps the frame locked, and the frame stays readable.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "MonitorManager.h"
#include "contract_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

// A frame that a thread of its own has locked, times over, and unlocks as often when told to.
class ForeignReader {
  public:
    explicit ForeignReader(unsigned int index, int times = 1)
        : reader_(
              std::async(std::launch::async, [this, index, times] { return read(index, times); })),
          frame_(locked_.get_future().get()) {}

    const CAP_DESKTOP_DATA& frame() const { return frame_; }
    std::vector<unsigned char> content() const {
        return {frame_.pData, frame_.pData + frame_.dwDataLen};
    }

    // What the last unlock returned.
    unsigned int unlock() {
        mayUnlock_.set_value();
        return reader_.get();
    }

  private:
    unsigned int read(unsigned int index, int times) {
        CAP_DESKTOP_DATA frame{};
        for (int i = 0; i < times; ++i) {
            frame = CapMgr_LockScreenBuffer(index);
        }
        locked_.set_value(frame);
        mayUnlock_.get_future().wait();
        unsigned int result = 0;
        for (int i = 0; i < times; ++i) {
            result = CapMgr_UnlockScreenBuffer(index);
        }
        return result;
    }

    std::promise<CAP_DESKTOP_DATA> locked_;
    std::promise<void> mayUnlock_;
    std::future<unsigned int> reader_;
    CAP_DESKTOP_DATA frame_;
};

class StopBound : public ContractTest {
  protected:
    // Stops a capture that waits for the reader, or sleeps.
    static void stop(unsigned int index) {
        driven_time::timeOutNextEventWait();
        EXPECT_TRUE(CapMgr_StopCapture(index, 0));
    }

    static auto deletion() {
        return Contains(Field(&Message::text, HasSubstr("CCaptureMac::~CCaptureMac()... End")));
    }
};

TEST_F(StopBound, holdsWithAReaderOnAnotherThreadWhoseFrameStays) {
    const unsigned int index = startedCapture();
    ForeignReader reader(index);
    ASSERT_NE(reader.frame().pData, nullptr);
    const std::vector<unsigned char> before = reader.content();
    driven_time::wake();
    stop(index);
    EXPECT_THAT(driven_time::eventWaits(), ElementsAre(3000U, 200U));
    EXPECT_THAT(trace_recorder::messages(), Not(deletion()));
    EXPECT_EQ(reader.content(), before);
    EXPECT_EQ(reader.unlock(), 0U) << "nothing is started";
    EXPECT_THAT(trace_recorder::messages(), deletion());
}

TEST_F(StopBound, holdsWhileTheCaptureSleeps) {
    const unsigned int index = startedCapture();
    ForeignReader reader(index);
    stop(index);
    EXPECT_NE(reader.content(), std::vector<unsigned char>());
    reader.unlock();
    EXPECT_THAT(trace_recorder::messages(), deletion());
}

TEST_F(StopBound, keepsTheFrameUntilItIsUnlockedAsOftenAsItWasLocked) {
    const unsigned int index = startedCapture();
    ForeignReader reader(index, 3);
    stop(index);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 0U) << "by a thread that has not locked it";
    EXPECT_THAT(trace_recorder::messages(), Not(deletion()));
    reader.unlock();
    EXPECT_THAT(trace_recorder::messages(), deletion());
}

TEST_F(StopBound, letsTheIndexBeStartedAgainAtOnce) {
    const unsigned int index = startedCapture();
    ForeignReader reader(index);
    stop(index);
    driven_time::reset();
    EXPECT_EQ(CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE),
              0U);
    ASSERT_TRUE(driven_time::awaitSleep());
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    EXPECT_NE(frame.pData, nullptr);
    EXPECT_NE(frame.pData, reader.frame().pData);
    EXPECT_EQ(reader.unlock(), 3U) << "one is started now";
    EXPECT_THAT(trace_recorder::messages(), deletion());
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
}

TEST_F(StopBound, outlivesTheManager) {
    const unsigned int index = startedCapture();
    ForeignReader reader(index);
    stop(index);
    CMonitorManager::DeleteInstance();
    EXPECT_NE(reader.content(), std::vector<unsigned char>());
    reader.unlock();
    EXPECT_THAT(trace_recorder::messages(), deletion());
}

}  // namespace
