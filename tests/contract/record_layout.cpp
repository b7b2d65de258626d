// Sizes, offsets and values that cross the interface, on every processor that this is compiled for.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "CaptureManager.h"
#include "MonitorManager.h"

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

// How they lie in a host's own records.
static_assert(alignof(CAP_SIZE) == 4 && alignof(tagCaptureRect) == 4);
static_assert(alignof(CAP_MONITOR_INFO) == 4 && alignof(CAP_DESKTOP_DATA) == 8);

static_assert(sizeof(CAP_MODE) == 4 && SERIAL_CAPTURE_MODE == 0 && PARALLEL_CAPTURE_MODE == 1);
static_assert(sizeof(CAP_METHOD) == 4 && CAP_METHOD_DEFAULT == 0 && CAP_METHOD_COREGRAPHICS == 4);
static_assert(sizeof(CAP_TYPE) == 4 && CAP_TYPE_DESKTOP == 0 && CAP_TYPE_APP_WINDOW == 1);
static_assert(sizeof(tagCapExcWndActType) == 4 && CAP_EXC_WND_CLEAR == 0 && CAP_EXC_WND_ADD == 1 &&
              CAP_EXC_WND_DELETE == 2);
static_assert(sizeof(tagCapAppActType) == 4 && CAP_APP_WND_CLEAR == 0 && CAP_APP_WND_SET == 1);

// Widths and signs of the fields.
static_assert(std::is_same_v<decltype(CAP_SIZE::dwWidth), uint32_t> &&
              std::is_same_v<decltype(CAP_SIZE::dwHeight), uint32_t>);
static_assert(std::is_same_v<decltype(tagCaptureRect::left), int32_t> &&
              std::is_same_v<decltype(tagCaptureRect::bottom), int32_t>);
static_assert(std::is_same_v<decltype(CAP_MONITOR_INFO::dwFrequency), uint32_t> &&
              std::is_same_v<decltype(CAP_MONITOR_INFO::dwBitsPerPixel), uint32_t>);
static_assert(std::is_same_v<decltype(CAP_DESKTOP_DATA::pData), uint8_t*> &&
              std::is_same_v<decltype(CAP_DESKTOP_DATA::dwDataLen), uint32_t>);
static_assert(std::is_same_v<CAP_SIZE, tag_Capture_SIZE>);

static_assert(std::is_trivially_copyable_v<CAP_DESKTOP_DATA> && std::is_trivial_v<CAP_SIZE>);

// The registry's record, in the order that hosts of the class interface rely on.
static_assert(offsetof(StructCaptureMgr, pCapture) == 0);
static_assert(offsetof(StructCaptureMgr, dwMaxFrameRate) == 8);
static_assert(offsetof(StructCaptureMgr, vecPresetExcludeWnd) == 16);
static_assert(offsetof(StructCaptureMgr, stFrameSize) == 40);
static_assert(sizeof(StructCaptureMgr) == 48);
