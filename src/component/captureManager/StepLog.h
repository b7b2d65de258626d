// The phrases of the step log, by which start, stop and set-up of captures are followed in a trace.
#ifndef QOR_CONF_STEPLOG_H
#define QOR_CONF_STEPLOG_H

enum class StepPhrase : int {
    UpdateMonitorBegin = 0,
    MonitorInformation = 1,
    UpdateMonitorEnd = 2,
    CreateCaptureBegin = 3,
    CreateCaptureEnd = 4,
    TransparentWindowsBegin = 5,
    TransparentWindowsInformation = 6,
    TransparentWindowsEnd = 7,
    ShareWindowsBegin = 8,
    ShareWindowsInformation = 9,
    ShareWindowsEnd = 10,
    StartCaptureBegin = 11,
    StartCaptureEnd = 12,
    StopCaptureBegin = 13,
    StopCaptureEnd = 14,
    CaptureFrameBegin = 15,
    CaptureFrameEnd = 16,
};

constexpr int kStepPhraseCount = 17;
constexpr int kStepPhraseSlot = 1024;

extern const char szScCapLog[kStepPhraseCount][kStepPhraseSlot];

#endif
