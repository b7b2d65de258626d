// A C++17 host that includes nothing but the public header.
#include <cstddef>

#include "CaptureManager.h"

static_assert(sizeof(CAP_MONITOR_INFO) == 96);
static_assert(offsetof(CAP_MONITOR_INFO, bPrimary) == 92);
static_assert(sizeof(CAP_DESKTOP_DATA) == 56);
static_assert(offsetof(CAP_DESKTOP_DATA, dwDataLen) == 40);

int main() {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    return frame.pData == nullptr && index == 0 ? 0 : 1;
}
