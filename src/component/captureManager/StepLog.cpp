#include "StepLog.h"

static_assert(static_cast<int>(StepPhrase::CaptureFrameEnd) + 1 == kStepPhraseCount);

// In the order of StepPhrase. Some phrases are in no step line; the table is kept whole, so that
// the numbers stay what they are.
const char szScCapLog[kStepPhraseCount][kStepPhraseSlot] = {
    "begin to update monitor information",
    "information of the monitor",
    "update monitor information end",
    "begin to create capture",
    "create capture end",
    "begin to set transparent windows",
    "information of the transparent windows",
    "set transparent windows end",
    "begin to set share windows",
    "information of the share windows",
    "set share windows end",
    "begin to start capture",
    "start capture end",
    "begin to stop capture",
    "stop capture end",
    "begin to capture frame",
    "capture frame end",
};
