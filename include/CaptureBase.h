/** @class CCaptureBase
 * One capture, bound to one monitor. Owns the capture thread and its loop, the frame
 * buffers, the rates and the windows to leave out; a backend supplies Init, DoCapture and UnInit.
 *
 * Life: construct, StartCapture, StopCapture, delete. The destructor does not stop the thread: call
 * StopCapture first.
 *
 * Threads: the host's calls come from one thread at a time. Init, DoCapture, UnInit and the
 * operations that only they call run on the capture thread (StopCapture calls UnInit once more, on
 * the host's). What both touch is under a lock or atomic.
 */
#ifndef QOR_CONF_CAPTUREBASE_H
#define QOR_CONF_CAPTUREBASE_H

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CaptureManager.h"
#include "CaptureScaling.h"
#include "vqutilc.h"

class CMonitor;

namespace qor {
struct ThreadRun;
}

class CAPMGR_API CCaptureBase {
  public:
    /** Copies what it needs of monitor, which need not outlive the call. Starts nothing. */
    CCaptureBase(const CMonitor* monitor, CAP_METHOD method, CAP_TYPE type);
    CCaptureBase(const CCaptureBase&) = delete;
    CCaptureBase& operator=(const CCaptureBase&) = delete;

    /* The virtual operations; their order is part of the binary interface. */

    virtual ~CCaptureBase();

    /** 0 when started or already running, 1 when no thread could be made, as without memory. */
    virtual uint32_t StartCapture();

    /** Sets the current rate to rate frames a second, at most the maximum. Always true. */
    virtual bool UpdateFrameRate(unsigned int rate);

    /** Whether the backend can capture on the host's thread. */
    virtual bool SerialModeEnabled();

    /** Captures on the calling thread, in serial mode. The base returns an all-zero record. */
    virtual CAP_DESKTOP_DATA CaptureScreen();

    /** Delivers frames at size pixels, from 1 x 1 up to the monitor's own; false for any other. */
    virtual bool SetFrameSize(tag_Capture_SIZE size);

    /** Called once each round of the loop. */
    virtual void CaptureThreadMsgProc();

    /** Takes one frame; false makes the loop try again. */
    virtual bool DoCapture();

    /** Prepares capturing; false ends the thread. */
    virtual bool Init() = 0;

    /** Undoes Init. Called twice for each start. */
    virtual void UnInit() = 0;

    /**
     * Ends the thread, waiting up to 3000 ms for it, then cancelling it; comes back within 3.2 s
     * whatever holds the thread up, a reader of the frame included.
     *
     * Buffers that are still in use then stay: those that a thread may write to that could not be
     * ended, and the frame that another thread of the host keeps locked. The object is not to be
     * deleted before that thread has unlocked it.
     *
     * Cancellation is not let in while CaptureThreadMsgProc, DoCapture, Init or UnInit run. One
     * that comes back only after that must not use the object any more, which may be gone; the
     * thread then ends.
     */
    void StopCapture();

    /**
     * Deletes a capture made with new, after StopCapture, or has its thread do so where that could
     * not be ended yet. False, and nothing done, while another thread of the host keeps the frame
     * locked.
     */
    CAPMGR_LOCAL static bool Delete(CCaptureBase* capture);
    /** Whether a thread has the frame locked. */
    CAPMGR_LOCAL bool IsRead() const;
    /** Whether the calling thread has. */
    CAPMGR_LOCAL bool IsReadHere() const;

    /** True when the paused state changed. */
    bool PauseCapture(bool bPause);

    /** False without serial support or for an unknown mode; serial mode pauses the loop. */
    bool SwitchMode(unsigned int mode);

    /** Stores the mode; serial becomes parallel without serial support. */
    void SetCaptureMode(CAP_MODE mode);
    /** The mode that was stored last. */
    CAP_MODE GetCaptureMode() const { return m_eCaptureMode; }

    /** Unsets the event that tells of the thread's end. */
    void ResetStopEvent();
    /** Sets the event that tells of the thread's end. */
    void SetStopEvent();
    /** Always 0. */
    uint32_t GetLastErrorCode() const;
    /** Always 0. */
    uint32_t GetErrorCount() const;
    /** Always 0. */
    int32_t GetCapFailResult() const { return m_iCapFailResult; }
    /** Keeps the host's own number. */
    void SetCustomVersion(uint32_t nCustomVersion);
    /** The host's own number, 0 when none was set. */
    uint32_t GetCustomVersion() const { return m_nCustomVersion; }
    /** The method given at construction. */
    CAP_METHOD GetCapMethod() const { return m_eCapMethod; }
    /** The type given at construction. */
    CAP_TYPE GetCapType() const { return m_eCapType; }

    /** The own index of the monitor that the capture was made for. */
    uint32_t GetMonitorIndex() const { return m_dwMonitorID; }

    /** Counts a delivered frame. */
    void OnCaptureSuccess();

    /** Thread entry; param is the CCaptureBase. Returns null. Lets no exception by: not to be
     * called where one is caught. */
    static void* CaptureThread(void* param);
    /** What the thread does: Init, the loop until a stop or 10 s of failures, UnInit. */
    void Capture();

    /** As CapMgr_SetMaxFrameRate, without its upper bound. False for a rate below 1. */
    bool SetMaxFrameRate(int nFrameRate);
    /** The maximum, frames a second; 3 to begin with. */
    int GetMaxFrameRate() const;
    /** The rate now, frames a second; 3 to begin with. */
    int GetCurFrameRate() const;

    /** Milliseconds of the calendar clock, truncated to 32 bits. */
    uint32_t UniversalGetTick();

    /** Makes the buffers dwSize bytes large, keeping those that are; 0 frees them. */
    void AllocBuffer(unsigned int dwSize);
    /** Frees the buffers; waits for a reader. After a stop in vain those in use stay. */
    void DeallocBuffer();

    /**
     * The newest frame. When pData is not null the buffer lock is held until UnlockBuffer, which
     * the same thread calls; otherwise nothing is locked. It is null also where the buffer is
     * too small for a frame: the display changed its size before the first image.
     */
    CAP_DESKTOP_DATA LockBuffer();

    /** 0 while stopping, 3 otherwise. Harmless without a lock. */
    uint8_t UnlockBuffer();

    /** Stores a frame of nLen bytes, unscaled; ignored while paused. */
    void UpdateBuffer(const unsigned char* pData, unsigned int nLen);

    /** Scales the frame at pData, nLen bytes a row, into the buffer; 0 when there is none, or,
     * after a trace, a too small one. */
    uint32_t Resize(void* pData, unsigned int nLen);

    /**
     * Whether a frame of width x height 4-byte pixels, packed, is to be delivered. Frames of one
     * colour, alpha aside, are held back until they have lasted more than 1000 ms.
     */
    bool CheckARGBData(const unsigned char* data, unsigned int width, unsigned int height);

    /** Edits the windows left out of a desktop capture. hWnd holds a window number. Throws
     * std::bad_alloc; the frames of CCaptureMac are black then, until the list is cleared. */
    void SetExcludeWnd(const void* hWnd, tagCapExcWndActType act);

    /** Sets or clears the window of an application capture. */
    void SetSharedAppWnd(unsigned int nWndID, tagCapAppActType act);
    /** Keeps the colour for nRgnType 0 or 1; ignores others. Nothing draws it. */
    void SetAppShareBackColor(unsigned int nRgnType, unsigned int nBrushType, unsigned int nColor);

  protected:
    /** @cond Fields, for the backends: their order and sizes are part of the binary interface. */
    struct AppShareBackColor {
        uint32_t nRgnType;
        uint32_t nBrushType;
        uint32_t nColor;
    };

    /** Fills the frame buffer with zero; the result of the bounded fill, 0 without a buffer. */
    CAPMGR_LOCAL int ClearBuffer();
    /** Whether there is a buffer, and it is too small for a frame. */
    CAPMGR_LOCAL bool RefusesFrame();
    /** Whether a stop in vain has left buffers in use. */
    CAPMGR_LOCAL bool IsLeftInUse() const;

    uint8_t m_nSkipCaptureFrame;
    uint32_t m_dwSkipFrameTick;
    std::vector<const void*> m_vecExcludeWnd; /**< guarded by m_csExcludeWnd */
    std::atomic<uint32_t> m_nWndCaptureID;
    pthread_t m_hCaptureThread;
    const CAP_METHOD m_eCapMethod;
    const CAP_TYPE m_eCapType;
    unsigned char* m_lpBuffer;    /**< guarded by m_csBuffer */
    unsigned char* m_lpAppBuffer; /**< guarded by m_csAppBuffer */
    bool m_bFlag0;
    bool m_bFlag1;
    bool m_bReserved0;
    int32_t m_nPacingMode; /**< 1: the loop never waits out the frame period */
    std::atomic<uint32_t> m_nbufSize;
    std::string m_strMonitorName;
    tagCaptureRect m_rcCapture;
    uint32_t m_dwMonitorID;
    bool m_bPrimary;
    uint32_t m_nCustomVersion;
    CAP_MODE m_eCaptureMode;
    std::atomic<int32_t> m_nMaxFrameRate;
    std::atomic<int32_t> m_nCurFrameRate;
    std::atomic<bool> m_bCaptureFailed;
    std::atomic<bool> m_bStop;
    std::atomic<bool> m_bPause;
    std::atomic<bool> m_bCaptureThreadRunning;
    bool m_bReserved1;
    CCaptureScaling m_oScaling; /**< guarded by m_csBuffer */
    bool m_bReserved2;
    std::atomic<uint32_t> m_dwFrameID;
    uint32_t m_dwUpdateCount;
    std::atomic<int32_t> m_iCapFailResult;
    VQ_Critical_Section m_csBuffer;
    VQ_Critical_Section m_csAppBuffer; /**< taken after m_csBuffer where both are */
    VQ_Critical_Section m_csExcludeWnd;
    VQ_Critical_Section m_csReserved;
    VQ_Critical_Section m_csSpare;
    AppShareBackColor m_stBackColor[2];
    uint32_t m_nLastErrorCode;
    uint32_t m_nErrorCount;
    VQ_Event m_eventCaptureExit;
    uint64_t m_nReserved;
    /** @endcond */

  private:
    struct CAPMGR_LOCAL ThreadEnd;

    CAPMGR_LOCAL void CancelThread();
    CAPMGR_LOCAL void AwaitCancelledThread();
    CAPMGR_LOCAL bool RunOnThread();
    CAPMGR_LOCAL void ReleaseReader();
    CAPMGR_LOCAL bool TakesFrame() const;
    CAPMGR_LOCAL uint32_t CaptureWidth() const;
    CAPMGR_LOCAL uint32_t CaptureHeight() const;

    /** The failures in a row that the loop has seen. */
    struct FailureRun {
        uint32_t failStart = 0; /**< tick of the first */
        uint32_t tryCount = 0;
    };
    CAPMGR_LOCAL void CaptureLoop();
    CAPMGR_LOCAL bool CaptureRound(FailureRun& run);
    CAPMGR_LOCAL bool RetryAfterFailure(FailureRun& run, uint32_t roundStart, uint32_t period);
    CAPMGR_LOCAL void Pace(uint32_t roundStart, uint32_t period) const;

    CAPMGR_LOCAL void AllocAppBuffer(unsigned int dwSize);
    CAPMGR_LOCAL void AbandonBuffers();
    CAPMGR_LOCAL void ResetUniformRun();

    std::shared_ptr<qor::ThreadRun> m_pThreadRun; /**< of the newest start; never null */
    std::atomic<std::thread::id> m_reader; /**< that has locked the frame; none: its default */
    uint32_t m_nReaderDepth = 0;           /**< how often; the reader's own */
};

#endif
