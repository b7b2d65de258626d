// A capture object whose backend does what a test says, and whose inside a test may look at.
#ifndef CONTRACT_SCRIPTED_CAPTURE_H
#define CONTRACT_SCRIPTED_CAPTURE_H

#include <atomic>
#include <functional>

#include "CaptureBase.h"
#include "Monitor.h"

class ScriptedCapture : public CCaptureBase {
  public:
    static constexpr uint32_t kWidth = 21;
    static constexpr uint32_t kHeight = 13;
    static constexpr uint32_t kBytes = kWidth * kHeight * 4;

    // For a virtual monitor of kWidth x kHeight pixels.
    explicit ScriptedCapture(CAP_METHOD method = CAP_METHOD_COREGRAPHICS,
                             CAP_TYPE type = CAP_TYPE_DESKTOP)
        : ScriptedCapture(CMonitor(0, kWidth, kHeight, 32), method, type) {}
    ScriptedCapture(const CMonitor& monitor, CAP_METHOD method, CAP_TYPE type)
        : CCaptureBase(&monitor, method, type) {}

    bool Init() override {
        ++initCalls;
        return init();
    }
    bool DoCapture() override {
        ++captureCalls;
        return capture();
    }
    void UnInit() override {
        ++unInitCalls;
        unInit();
    }
    bool SerialModeEnabled() override { return serial; }
    void CaptureThreadMsgProc() override {
        ++messageCalls;
        message();
    }

    // What the backend does; set before the start.
    std::function<bool()> init = [] { return true; };
    std::function<bool()> capture = [] { return true; };
    std::function<void()> unInit = [] {};
    std::function<void()> message = [] {};
    bool serial = false;

    std::atomic<int> initCalls{0};
    std::atomic<int> captureCalls{0};
    std::atomic<int> unInitCalls{0};
    std::atomic<int> messageCalls{0};

    // In declaration order.
    using CCaptureBase::m_bCaptureFailed;
    using CCaptureBase::m_bCaptureThreadRunning;
    using CCaptureBase::m_bFlag0;
    using CCaptureBase::m_bFlag1;
    using CCaptureBase::m_bPause;
    using CCaptureBase::m_bPrimary;
    using CCaptureBase::m_bReserved0;
    using CCaptureBase::m_bReserved1;
    using CCaptureBase::m_bReserved2;
    using CCaptureBase::m_bStop;
    using CCaptureBase::m_csAppBuffer;
    using CCaptureBase::m_csBuffer;
    using CCaptureBase::m_csExcludeWnd;
    using CCaptureBase::m_csReserved;
    using CCaptureBase::m_csSpare;
    using CCaptureBase::m_dwFrameID;
    using CCaptureBase::m_dwMonitorID;
    using CCaptureBase::m_dwSkipFrameTick;
    using CCaptureBase::m_dwUpdateCount;
    using CCaptureBase::m_eCapMethod;
    using CCaptureBase::m_eCaptureMode;
    using CCaptureBase::m_eCapType;
    using CCaptureBase::m_eventCaptureExit;
    using CCaptureBase::m_hCaptureThread;
    using CCaptureBase::m_iCapFailResult;
    using CCaptureBase::m_lpAppBuffer;
    using CCaptureBase::m_lpBuffer;
    using CCaptureBase::m_nbufSize;
    using CCaptureBase::m_nCurFrameRate;
    using CCaptureBase::m_nCustomVersion;
    using CCaptureBase::m_nErrorCount;
    using CCaptureBase::m_nLastErrorCode;
    using CCaptureBase::m_nMaxFrameRate;
    using CCaptureBase::m_nPacingMode;
    using CCaptureBase::m_nReserved;
    using CCaptureBase::m_nSkipCaptureFrame;
    using CCaptureBase::m_nWndCaptureID;
    using CCaptureBase::m_oScaling;
    using CCaptureBase::m_rcCapture;
    using CCaptureBase::m_stBackColor;
    using CCaptureBase::m_strMonitorName;
    using CCaptureBase::m_vecExcludeWnd;
};

#endif
