/* A C11 host that includes nothing but the public header and refers to every function of it. */
#include <stdio.h>

#include "CaptureManager.h"

_Static_assert(sizeof(CAP_SIZE) == 8, "CAP_SIZE");
_Static_assert(sizeof(tagCaptureRect) == 16, "tagCaptureRect");
_Static_assert(sizeof(CAP_MONITOR_INFO) == 96, "CAP_MONITOR_INFO");
_Static_assert(sizeof(CAP_DESKTOP_DATA) == 56, "CAP_DESKTOP_DATA");
_Static_assert(sizeof(CAP_MODE) == 4 && sizeof(CAP_METHOD) == 4 && sizeof(CAP_TYPE) == 4, "enums");

typedef void (*AnyFunction)(void);

static const AnyFunction kFunctions[] = {
    (AnyFunction)CapMgr_GetMonitorCount,        (AnyFunction)CapMgr_GetMonitorInfo,
    (AnyFunction)CapMgr_GetPrimaryMonitorIndex, (AnyFunction)CapMgr_GetSecondaryMonitorIndex,
    (AnyFunction)CapMgr_GenerateMonitor,        (AnyFunction)CapMgr_DestroyMonitor,
    (AnyFunction)CapMgr_UpdateMonitor,          (AnyFunction)CapMgr_OnMonitorInfoChange,
    (AnyFunction)CapMgr_MonitorScreenInfo,      (AnyFunction)CapMgr_GenerateCaptureIndex,
    (AnyFunction)CapMgr_StartCapture,           (AnyFunction)CapMgr_StopCapture,
    (AnyFunction)CapMgr_PauseCapture,           (AnyFunction)CapMgr_ResumeCapture,
    (AnyFunction)CapMgr_IsSerialCapMode,        (AnyFunction)CapMgr_SetCaptureFrameSize,
    (AnyFunction)CapMgr_CaptureScreenBuffer,    (AnyFunction)CapMgr_LockScreenBuffer,
    (AnyFunction)CapMgr_UnlockScreenBuffer,     (AnyFunction)CapMgr_UpdateScreenBuffer,
    (AnyFunction)CapMgr_SetMaxFrameRate,        (AnyFunction)CapMgr_UpdateFrameRate,
    (AnyFunction)CapMgr_GetMaxFrameRate,        (AnyFunction)CapMgr_GetCurFrameRate,
    (AnyFunction)CapMgr_GetCapFailResult,       (AnyFunction)CapMgr_SetExcludeWnd,
    (AnyFunction)CapMgr_SetSharedAppWnd,        (AnyFunction)CapMgr_SetAppShareBgColor,
};

int main(void) {
    const size_t count = sizeof kFunctions / sizeof kFunctions[0];
    for (size_t i = 0; i < count; ++i) {
        if (kFunctions[i] == NULL) {
            return 1;
        }
    }
    unsigned int index = CapMgr_GenerateCaptureIndex();
    CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    printf("%zu functions, index %u\n", count, index);
    return frame.pData == NULL && index == 0 ? 0 : 1;
}
