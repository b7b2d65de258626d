// Sizes, offsets and values that cross the interface.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "CaptureManager.h"
#include "MonitorManager.h"

namespace {

static_assert(sizeof(CAP_SIZE) == 8);
static_assert(offsetof(CAP_SIZE, dwWidth) == 0);
static_assert(offsetof(CAP_SIZE, dwHeight) == 4);

static_assert(sizeof(tagCaptureRect) == 16);
static_assert(offsetof(tagCaptureRect, left) == 0);
static_assert(offsetof(tagCaptureRect, top) == 4);
static_assert(offsetof(tagCaptureRect, right) == 8);
static_assert(offsetof(tagCaptureRect, bottom) == 12);

static_assert(MAX_MONITOR_NAME_LEN == 64);
static_assert(sizeof(CAP_MONITOR_INFO) == 96);
static_assert(offsetof(CAP_MONITOR_INFO, dwIndex) == 0);
static_assert(offsetof(CAP_MONITOR_INFO, cstrName) == 4);
static_assert(sizeof(CAP_MONITOR_INFO::cstrName) == 64);
static_assert(offsetof(CAP_MONITOR_INFO, rcMonitor) == 68);
static_assert(offsetof(CAP_MONITOR_INFO, dwFrequency) == 84);
static_assert(offsetof(CAP_MONITOR_INFO, dwBitsPerPixel) == 88);
static_assert(offsetof(CAP_MONITOR_INFO, bPrimary) == 92);
static_assert(sizeof(CAP_MONITOR_INFO::bPrimary) == 1);

static_assert(sizeof(CAP_DESKTOP_DATA) == 56);
static_assert(offsetof(CAP_DESKTOP_DATA, pData) == 0);
static_assert(offsetof(CAP_DESKTOP_DATA, reserved1) == 8);
static_assert(sizeof(CAP_DESKTOP_DATA::reserved1) == 32);
static_assert(offsetof(CAP_DESKTOP_DATA, dwDataLen) == 40);
static_assert(offsetof(CAP_DESKTOP_DATA, dwWidth) == 44);
static_assert(offsetof(CAP_DESKTOP_DATA, dwHeight) == 48);
static_assert(offsetof(CAP_DESKTOP_DATA, reserved2) == 52);

static_assert(sizeof(CAP_MODE) == 4 && SERIAL_CAPTURE_MODE == 0 && PARALLEL_CAPTURE_MODE == 1);
static_assert(sizeof(CAP_METHOD) == 4);
static_assert(sizeof(CAP_TYPE) == 4);
static_assert(sizeof(tagCapExcWndActType) == 4);
static_assert(sizeof(tagCapAppActType) == 4);

// The registry's record, in the order that hosts of the class interface rely on.
static_assert(offsetof(StructCaptureMgr, pCapture) == 0);
static_assert(offsetof(StructCaptureMgr, dwMaxFrameRate) == 8);
static_assert(offsetof(StructCaptureMgr, vecPresetExcludeWnd) == 16);
static_assert(offsetof(StructCaptureMgr, stFrameSize) == 40);
static_assert(sizeof(StructCaptureMgr) == 48);

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

static_assert(std::is_trivially_copyable_v<CAP_DESKTOP_DATA> && std::is_trivial_v<CAP_SIZE>);

// The static assertions above are the test; this makes them show in the list.
TEST(BinaryInterface, recordsAndSignaturesHaveTheirFixedForm) {
    SUCCEED();
}

}  // namespace
