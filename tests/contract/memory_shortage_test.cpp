// What is left of a call for which there was no memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <new>
#include <ostream>
#include <string>

#include "Monitor.h"
#include "MonitorManager.h"
#include "bounded_memory_faults.h"
#include "engine_loop.h"

namespace {

using testing::AnyOf;
using testing::Contains;

constexpr unsigned int kNoCaptureIndex = 0xFFFFFFFF;

// A list has room for one window, then for two, four, eight.
constexpr size_t kTwoWindows = 2 * sizeof(void*);
constexpr size_t kEightWindows = 8 * sizeof(void*);

CMonitorManager& manager() {
    return *CMonitorManager::GetInstance();
}

// The capture's newest frame; whether every byte of it is zero.
bool isBlack(unsigned int index) {
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    EXPECT_NE(frame.pData, nullptr);
    const bool black = std::all_of(frame.pData, frame.pData + frame.dwDataLen,
                                   [](unsigned char byte) { return byte == 0; });
    CapMgr_UnlockScreenBuffer(index);
    return black;
}

class ShortMemory : public ContractTest {
  protected:
    static void exclude(unsigned int index, uintptr_t number) {
        CapMgr_SetExcludeWnd(index, window(number), CAP_EXC_WND_ADD);
    }

    static uint32_t start(unsigned int index) {
        return CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                   PARALLEL_CAPTURE_MODE);
    }
};

TEST_F(ShortMemory, makesACallFailWithATrace) {
    CapMgr_GetMonitorCount();
    memory_faults::failSingleAllocation(sizeof(StructCaptureMgr));
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), kNoCaptureIndex);
    EXPECT_THAT(trace_recorder::messages(),
                Contains(error("CapMgr_GenerateCaptureIndex... memory is short!")));
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 0U);
}

struct FailingCall {
    const char* name;
    bool (*fails)();  // whether it gives what stands for a failure, if it gives anything
};

void PrintTo(const FailingCall& call, std::ostream* out) {
    *out << call.name;
}

class ShortMemoryForACall : public ContractTest, public testing::WithParamInterface<FailingCall> {};

// Each makes the manager, where there is none yet.
TEST_P(ShortMemoryForACall, makesItFailWithATrace) {
    memory_faults::failSingleAllocation(sizeof(CMonitorManager));
    EXPECT_TRUE(GetParam().fails());
    EXPECT_THAT(trace_recorder::messages(),
                Contains(error(std::string(GetParam().name) + "... memory is short!")));
}

const FailingCall kFailingCalls[]{
    {"CapMgr_GetMonitorCount", [] { return CapMgr_GetMonitorCount() == 0; }},
    {"CapMgr_GetMonitorInfo",
     [] {
         CAP_MONITOR_INFO info{};
         return !CapMgr_GetMonitorInfo(0, &info);
     }},
    {"CapMgr_GetPrimaryMonitorIndex", [] { return CapMgr_GetPrimaryMonitorIndex() == 0; }},
    {"CapMgr_GetSecondaryMonitorIndex", [] { return CapMgr_GetSecondaryMonitorIndex() == 0; }},
    {"CapMgr_GenerateMonitor", [] { return CapMgr_GenerateMonitor(640, 480, 32), true; }},
    {"CapMgr_DestroyMonitor", [] { return CapMgr_DestroyMonitor(), true; }},
    {"CapMgr_UpdateMonitor", [] { return CapMgr_UpdateMonitor(), true; }},
    {"CapMgr_OnMonitorInfoChange", [] { return CapMgr_OnMonitorInfoChange(), true; }},
    {"CapMgr_MonitorScreenInfo",
     [] {
         double scale = 1;
         CGRect frame{{1, 1}, {1, 1}};
         CapMgr_MonitorScreenInfo(0, &scale, &frame);
         return scale == 0 && frame.size.width == 0;
     }},
    {"CapMgr_GenerateCaptureIndex",
     [] { return CapMgr_GenerateCaptureIndex() == kNoCaptureIndex; }},
    {"CapMgr_StartCapture",
     [] {
         return CapMgr_StartCapture(0, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                    PARALLEL_CAPTURE_MODE) == 1;
     }},
    {"CapMgr_StopCapture", [] { return !CapMgr_StopCapture(0, 0); }},
    {"CapMgr_PauseCapture", [] { return !CapMgr_PauseCapture(0); }},
    {"CapMgr_ResumeCapture", [] { return !CapMgr_ResumeCapture(0); }},
    {"CapMgr_IsSerialCapMode", [] { return !CapMgr_IsSerialCapMode(0); }},
    {"CapMgr_SetCaptureFrameSize",
     [] {
         return !CapMgr_SetCaptureFrameSize(0, {64, 48});
     }},
    {"CapMgr_CaptureScreenBuffer", [] { return CapMgr_CaptureScreenBuffer(0).pData == nullptr; }},
    {"CapMgr_LockScreenBuffer", [] { return CapMgr_LockScreenBuffer(0).pData == nullptr; }},
    {"CapMgr_UnlockScreenBuffer", [] { return CapMgr_UnlockScreenBuffer(0) == 0; }},
    {"CapMgr_UpdateScreenBuffer",
     [] {
         const unsigned char pixel[4]{};
         return CapMgr_UpdateScreenBuffer(0, pixel, sizeof pixel), true;
     }},
    {"CapMgr_SetMaxFrameRate", [] { return !CapMgr_SetMaxFrameRate(0, 10); }},
    {"CapMgr_UpdateFrameRate", [] { return !CapMgr_UpdateFrameRate(0, 10); }},
    {"CapMgr_GetMaxFrameRate", [] { return CapMgr_GetMaxFrameRate(0) == 0; }},
    {"CapMgr_GetCurFrameRate", [] { return CapMgr_GetCurFrameRate(0) == 0; }},
    {"CapMgr_GetCapFailResult", [] { return CapMgr_GetCapFailResult(0) == 0; }},
    {"CapMgr_SetExcludeWnd",
     [] { return CapMgr_SetExcludeWnd(0, window(3), CAP_EXC_WND_ADD), true; }},
    {"CapMgr_SetSharedAppWnd", [] { return CapMgr_SetSharedAppWnd(0, 3, CAP_APP_WND_SET), true; }},
    {"CapMgr_SetAppShareBgColor", [] { return CapMgr_SetAppShareBgColor(0, 1, 2, 3), true; }},
};

INSTANTIATE_TEST_SUITE_P(Calls, ShortMemoryForACall, testing::ValuesIn(kFailingCalls),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(ShortMemory, leavesNoManagerWhoseMonitorsItHadNoMemoryFor) {
    memory_faults::failSingleAllocation(sizeof(CMonitor));
    EXPECT_EQ(CapMgr_GetMonitorCount(), 0U);
    EXPECT_EQ(CapMgr_GetMonitorCount(), 1U);
}

TEST_F(ShortMemory, leavesTheListOfMonitorsWholeOrEmpty) {
    plugInSecond();
    CapMgr_GetMonitorCount();
    memory_faults::failSingleAllocation(sizeof(CMonitor));
    CapMgr_UpdateMonitor();
    EXPECT_THAT(CapMgr_GetMonitorCount(), AnyOf(0U, 2U));
    CapMgr_UpdateMonitor();
    EXPECT_EQ(CapMgr_GetMonitorCount(), 2U);
}

TEST_F(ShortMemory, showsNothingWhileAWindowToLeaveOutIsNotKnown) {
    const unsigned int index = startedCapture();
    exclude(index, 3);
    memory_faults::failSingleAllocation(kTwoWindows);
    exclude(index, 4);
    runRounds(2);
    EXPECT_TRUE(isBlack(index));
    exclude(index, 5);
    runRounds(2);
    EXPECT_TRUE(isBlack(index));
    CapMgr_SetExcludeWnd(index, nullptr, CAP_EXC_WND_CLEAR);
    runRounds(2);
    EXPECT_FALSE(isBlack(index));
}

TEST_F(ShortMemory, showsNothingWhenAWindowThatWasToBeLeftOutFromTheStartIsNotKnown) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    exclude(index, 3);
    memory_faults::failSingleAllocation(kTwoWindows);
    exclude(index, 4);
    EXPECT_EQ(start(index), 0U);
    ASSERT_TRUE(driven_time::awaitSleep());
    runRounds(2);
    EXPECT_TRUE(isBlack(index));
}

TEST_F(ShortMemory, startsNoCaptureThatLacksAWindowToLeaveOut) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    for (uintptr_t number = 1; number <= 5; ++number) {
        exclude(index, number);
    }
    memory_faults::failSingleAllocation(kEightWindows);
    EXPECT_NE(start(index), 0U);
    EXPECT_EQ(manager().GetCaptureInstance(index), nullptr);
    EXPECT_EQ(start(index), 0U);
    ASSERT_TRUE(driven_time::awaitSleep());
    EXPECT_FALSE(isBlack(index));
}

// The frame stays for its reader, and is lost when that has unlocked it.
TEST_F(ShortMemory, stopsACaptureThatIsReadByAnotherThread) {
    constexpr size_t kPlaceAmongTheKept = 48;
    const unsigned int index = startedCapture();
    std::promise<void> mayUnlock;
    std::promise<CAP_DESKTOP_DATA> locked;
    const auto reader = std::async(std::launch::async, [&] {
        locked.set_value(CapMgr_LockScreenBuffer(index));
        mayUnlock.get_future().wait();
        CapMgr_UnlockScreenBuffer(index);
    });
    ASSERT_NE(locked.get_future().get().pData, nullptr);
    driven_time::timeOutNextEventWait();
    memory_faults::failSingleAllocation(kPlaceAmongTheKept);
    // Elsewhere something else may have that size, and the stop fails; but not twice.
    if (!CapMgr_StopCapture(index, 0)) {
        driven_time::timeOutNextEventWait();
        EXPECT_TRUE(CapMgr_StopCapture(index, 0));
    }
    mayUnlock.set_value();
    EXPECT_EQ(manager().GetCaptureInstance(index), nullptr);
}

class ShortMemoryInALoop : public EngineLoop {};

TEST_F(ShortMemoryInALoop, endsTheThreadOfABackendThatThrows) {
    capture_.capture = []() -> bool { throw std::bad_alloc(); };
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(trace_recorder::messages(),
                Contains(error("CCaptureBase::Capture()... ended by an exception!")));
    capture_.StopCapture();
    driven_time::reset();
    capture_.capture = [] { return true; };
    EXPECT_EQ(start(), 1 * kMs);
}

}  // namespace
