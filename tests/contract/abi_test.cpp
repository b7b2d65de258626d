// What crosses the interface, and the widths in which it does; its layout is in record_layout.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "CaptureManager.h"
#include "Monitor.h"
#include "MonitorManager.h"
#include "contract_test.h"

namespace {

// The destructor is the monitor's one virtual operation; the manager has none.
static_assert(std::has_virtual_destructor_v<CMonitor> && !std::is_polymorphic_v<CMonitorManager>);

template <typename Result, typename... Arguments>
constexpr bool isCallableAs(Result (*)(Arguments...)) {
    return true;
}

// The widths of what goes in and comes out.
static_assert(isCallableAs<uint32_t>(&CapMgr_GetMonitorCount));
static_assert(isCallableAs<bool, uint32_t, CAP_MONITOR_INFO*>(&CapMgr_GetMonitorInfo));
static_assert(isCallableAs<uint32_t>(&CapMgr_GetPrimaryMonitorIndex));
static_assert(isCallableAs<uint32_t>(&CapMgr_GetSecondaryMonitorIndex));
static_assert(isCallableAs<void, int, int, uint32_t>(&CapMgr_GenerateMonitor));
static_assert(isCallableAs<void>(&CapMgr_DestroyMonitor));
static_assert(isCallableAs<void>(&CapMgr_UpdateMonitor));
static_assert(isCallableAs<void>(&CapMgr_OnMonitorInfoChange));
static_assert(isCallableAs<void, uint32_t, double*, CGRect*>(&CapMgr_MonitorScreenInfo));
static_assert(isCallableAs<uint32_t>(&CapMgr_GenerateCaptureIndex));
static_assert(isCallableAs<uint32_t, uint32_t, uint32_t, CAP_METHOD, CAP_TYPE, uint32_t, CAP_MODE>(
    &CapMgr_StartCapture));
static_assert(isCallableAs<bool, uint32_t, int>(&CapMgr_StopCapture));
static_assert(isCallableAs<bool, uint32_t>(&CapMgr_PauseCapture));
static_assert(isCallableAs<bool, uint32_t>(&CapMgr_ResumeCapture));
static_assert(isCallableAs<bool, uint32_t>(&CapMgr_IsSerialCapMode));
static_assert(isCallableAs<bool, uint32_t, CAP_SIZE>(&CapMgr_SetCaptureFrameSize));
static_assert(isCallableAs<CAP_DESKTOP_DATA, uint32_t>(&CapMgr_CaptureScreenBuffer));
static_assert(isCallableAs<CAP_DESKTOP_DATA, uint32_t>(&CapMgr_LockScreenBuffer));
static_assert(isCallableAs<uint32_t, uint32_t>(&CapMgr_UnlockScreenBuffer));
static_assert(
    isCallableAs<void, uint32_t, const unsigned char*, uint32_t>(&CapMgr_UpdateScreenBuffer));
static_assert(isCallableAs<bool, uint32_t, uint32_t>(&CapMgr_SetMaxFrameRate));
static_assert(isCallableAs<bool, uint32_t, uint32_t>(&CapMgr_UpdateFrameRate));
static_assert(isCallableAs<int, uint32_t>(&CapMgr_GetMaxFrameRate));
static_assert(isCallableAs<int, uint32_t>(&CapMgr_GetCurFrameRate));
static_assert(isCallableAs<int, uint32_t>(&CapMgr_GetCapFailResult));
static_assert(
    isCallableAs<void, uint32_t, const void*, tagCapExcWndActType>(&CapMgr_SetExcludeWnd));
static_assert(isCallableAs<void, uint32_t, uint32_t, tagCapAppActType>(&CapMgr_SetSharedAppWnd));
static_assert(
    isCallableAs<void, uint32_t, uint32_t, uint32_t, uint32_t>(&CapMgr_SetAppShareBgColor));

class BinaryInterface : public ContractTest {
  protected:
    static constexpr unsigned char kOld = 0x5A;

    template <typename Value>
    static Value at(const unsigned char* bytes, size_t offset) {
        Value value;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    }
};

// As a host sees it that was compiled long ago: 96 bytes, and nothing behind them.
TEST_F(BinaryInterface, aMonitorIsDescribedIn96Bytes) {
    plugInSecond();
    alignas(CAP_MONITOR_INFO) std::array<unsigned char, 104> memory{};
    memory.fill(kOld);
    ASSERT_TRUE(CapMgr_GetMonitorInfo(1, reinterpret_cast<CAP_MONITOR_INFO*>(memory.data())));
    const unsigned char* const bytes = memory.data();
    EXPECT_EQ(at<uint32_t>(bytes, 0), 1U);
    std::array<char, 64> name{"Panel 69"};
    EXPECT_EQ(std::memcmp(bytes + 4, name.data(), name.size()), 0);
    EXPECT_EQ(at<int32_t>(bytes, 68), 7);
    EXPECT_EQ(at<int32_t>(bytes, 72), 3);
    EXPECT_EQ(at<int32_t>(bytes, 76), 87);
    EXPECT_EQ(at<int32_t>(bytes, 80), 63);
    EXPECT_EQ(at<uint32_t>(bytes, 84), 59U);
    EXPECT_EQ(at<uint32_t>(bytes, 88), 32U);
    EXPECT_EQ(at<uint32_t>(bytes, 92), 0U) << "not primary, then padding";
    EXPECT_TRUE(std::all_of(bytes + 96, bytes + 104, [](unsigned char b) { return b == kOld; }));
}

TEST_F(BinaryInterface, aFrameIsDescribedIn56BytesWithNothingInTheReservedOnes) {
    const unsigned int index = startedCapture();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    std::array<unsigned char, 56> bytes{};
    std::memcpy(bytes.data(), &frame, bytes.size());
    EXPECT_EQ(at<const void*>(bytes.data(), 0), frame.pData);
    EXPECT_NE(frame.pData, nullptr);
    for (const size_t offset : {8U, 16U, 24U, 32U}) {
        EXPECT_EQ(at<uint64_t>(bytes.data(), offset), 0U) << offset;
    }
    EXPECT_EQ(at<uint32_t>(bytes.data(), 40), kMainWidth * kMainHeight * 4);
    EXPECT_EQ(at<uint32_t>(bytes.data(), 44), kMainWidth);
    EXPECT_EQ(at<uint32_t>(bytes.data(), 48), kMainHeight);
    EXPECT_EQ(at<uint32_t>(bytes.data(), 52), 0U);
    CapMgr_UnlockScreenBuffer(index);
}

}  // namespace
