#include "CaptureBase.h"

#include <mach/clock.h>
#include <mach/mach.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "Cancellation.h"
#include "ExcludedWindows.h"
#include "FrameCheck.h"
#include "FrameMemory.h"
#include "Monitor.h"
#include "ThreadRun.h"
#include "Trace.h"
#include "kxcommon64.h"

namespace {

constexpr char kSourcePath[] = "src/component/captureManager/CaptureBase";

using uint8 = unsigned char;

constexpr int kInitialFrameRate = 3;
constexpr unsigned int kStopWaitMs = 3000;
constexpr unsigned int kCancelWaitMs = 200;
constexpr uint32_t kFailureTimeoutMs = 10000;
constexpr uint32_t kShortestPeriodMs = 30;
constexpr uint32_t kLongestWaitMs = 1000;
constexpr uint32_t kUnpacedFrames = 2;  // the first frames of a run come as fast as they can
constexpr int kNeverPace = 1;           // of m_nPacingMode
constexpr useconds_t kPauseSleepUs = 500000;
constexpr useconds_t kRetrySleepUs = 2000;
constexpr useconds_t kUsPerMs = 1000;
constexpr uint32_t kTracedFrameInterval = 50;
constexpr uint32_t kBytesPerPixel = 4;
constexpr uint32_t kUniformGraceMs = 1000;
constexpr int kUncountedMethod = 10;  // a capture method whose frames are never counted
constexpr uint8_t kUnlockedWhileStopping = 0;
constexpr uint8_t kUnlocked = 3;

using SectionLock = std::lock_guard<VQ_Critical_Section>;
using qor::CancellableLock;
using qor::CaptureThreadScope;
using qor::leaveIfGivenUp;
using qor::sleepCancellably;
using qor::ThreadGivenUp;
using qor::ThreadRun;

// Milliseconds from one frame to the next at rate frames a second.
uint32_t framePeriodMs(int32_t rate) {
    if (rate == 0) {
        return kShortestPeriodMs;
    }
    const int32_t period = 1000 / rate;
    return static_cast<uint32_t>(std::max(period, static_cast<int32_t>(kShortestPeriodMs)));
}

// Application captures get the second buffer.
bool usesAppBuffer(CAP_TYPE type) {
    const int value = static_cast<int>(type);
    return value == 1 || value == 2;
}

// Null where there is no memory for it.
std::shared_ptr<ThreadRun> newThreadRun() noexcept {
    try {
        return std::make_shared<ThreadRun>();
    } catch (...) {
        return nullptr;
    }
}

std::array<char, 4> shortNumber(uint8_t value) {
    std::array<char, 4> text{};
    snprintf_s(text.data(), text.size(), text.size() - 1, "%d", static_cast<int>(value));
    return text;
}

}  // namespace

// The end of a capture thread, cancelled or not. The stop event says that the thread uses the
// object no more, unless the stop has given the thread up: the object may be deleted from then on,
// and is deleted here if that was left to the thread.
struct CCaptureBase::ThreadEnd {
    CCaptureBase& capture;
    CaptureThreadScope& scope;

    static void Tell(void* end) {
        auto& [capture, scope] = *static_cast<ThreadEnd*>(end);
        const std::shared_ptr<ThreadRun> run = scope.end();
        CCaptureBase* orphan = nullptr;
        {
            const std::lock_guard<std::mutex> lock(run->mutex);
            run->ended = true;
            orphan = std::exchange(run->orphan, nullptr);
            if (!run->abandoned) {
                capture.SetStopEvent();
            }
        }
        if (orphan != nullptr) {
            // Stays for good if its frame is still locked: no unlock leads to it any more.
            orphan->UnInit();
            Delete(orphan);
        }
    }
};

bool CCaptureBase::Delete(CCaptureBase* capture) {
    const std::shared_ptr<ThreadRun> run = capture->m_pThreadRun;
    {
        const std::lock_guard<std::mutex> lock(run->mutex);
        if (run->abandoned && !run->ended) {
            run->orphan = capture;
            return true;
        }
    }
    if (capture->IsLeftInUse()) {
        return false;
    }
    delete capture;
    return true;
}

CCaptureBase::CCaptureBase(const CMonitor* monitor, CAP_METHOD method, CAP_TYPE type)
    : m_nSkipCaptureFrame(0),
      m_dwSkipFrameTick(0),
      m_nWndCaptureID(0),
      m_hCaptureThread{},
      m_eCapMethod(method),
      m_eCapType(type),
      m_lpBuffer(nullptr),
      m_lpAppBuffer(nullptr),
      m_bFlag0(false),
      m_bFlag1(true),
      m_bReserved0(false),
      m_nPacingMode(0),
      m_nbufSize(0),
      m_strMonitorName(monitor->GetName()),
      m_rcCapture{},
      m_dwMonitorID(monitor->GetIndex()),
      m_bPrimary(monitor->IsPrimaryMonitor()),
      m_nCustomVersion(0),
      m_eCaptureMode(PARALLEL_CAPTURE_MODE),
      m_nMaxFrameRate(kInitialFrameRate),
      m_nCurFrameRate(kInitialFrameRate),
      m_bCaptureFailed(false),
      m_bStop(false),
      m_bPause(false),
      m_bCaptureThreadRunning(false),
      m_bReserved1(false),
      m_bReserved2(false),
      m_dwFrameID(0),
      m_dwUpdateCount(0),
      m_iCapFailResult(0),
      m_stBackColor{},
      m_nLastErrorCode(0),
      m_nErrorCount(0),
      m_nReserved(0),
      m_pThreadRun(std::make_shared<ThreadRun>()) {
    excluded_windows::prepare(m_vecExcludeWnd);
    monitor->GetMonitorRect(m_rcCapture);
    const CAP_SIZE monitorSize = {CaptureWidth(), CaptureHeight()};
    m_oScaling.Initialize(monitorSize, monitorSize);
    m_csBuffer.init();
    m_csAppBuffer.init();
    m_csExcludeWnd.init();
    m_csReserved.init();
}

CCaptureBase::~CCaptureBase() {
    try {
        DeallocBuffer();
        m_csBuffer.cleanup();
        m_csAppBuffer.cleanup();
        m_csExcludeWnd.cleanup();
        m_csReserved.cleanup();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a failing step ends the others, quietly
    }
    m_hCaptureThread = {};
}

uint32_t CCaptureBase::CaptureWidth() const {
    return static_cast<uint32_t>(std::abs(int64_t{m_rcCapture.right} - m_rcCapture.left));
}

uint32_t CCaptureBase::CaptureHeight() const {
    return static_cast<uint32_t>(std::abs(int64_t{m_rcCapture.bottom} - m_rcCapture.top));
}

uint32_t CCaptureBase::StartCapture() {
    TRACE_INFO("CCaptureBase::StartCapture()... Begin! capType:", m_eCapMethod);
    m_bPause = false;
    m_bStop = false;
    if (m_bCaptureThreadRunning) {
        TRACE_WARNING("CCaptureBase::StartCapture()... Capture thread is already running!");
        return 0;
    }
    std::shared_ptr<ThreadRun> run = newThreadRun();
    if (run == nullptr) {
        TRACE_ERROR("CCaptureBase::StartCapture()... no memory for CaptureThread");
        return 1;
    }
    m_pThreadRun = std::move(run);
    // The thread resets the event as well, but may come to it only after a stop has begun to wait.
    ResetStopEvent();
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_PROCESS);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (pthread_create(&m_hCaptureThread, &attributes, CaptureThread, this) != 0) {
        // The attributes stay undestroyed on this path by rule.
        m_hCaptureThread = {};
        TRACE_ERROR("CCaptureBase::StartCapture()... Begin CaptureThread failed");
        return 1;
    }
    pthread_attr_destroy(&attributes);
    m_bCaptureThreadRunning = true;
    TRACE_INFO("CCaptureBase::StartCapture()... End!");
    return 0;
}

void CCaptureBase::StopCapture() {
    TRACE_INFO("CCaptureBase::StopCapture... Begin!");
    m_bStop = true;
    m_bCaptureThreadRunning = false;
    if (m_hCaptureThread != pthread_t{}) {
        if (!m_eventCaptureExit.wait(kStopWaitMs)) {
            CancelThread();
            TRACE_INFO("CCaptureBase::StopCature... Close capture thread timeout!");
            AwaitCancelledThread();
        }
        m_hCaptureThread = {};
    }
    UnInit();
    m_dwFrameID = 0;
    TRACE_INFO("CCaptureBase::StopCapture... End!!");
}

// A thread that has ended meanwhile is no thread to cancel.
void CCaptureBase::CancelThread() {
    m_pThreadRun->cancelled = true;
    const std::lock_guard<std::mutex> lock(m_pThreadRun->mutex);
    if (!m_pThreadRun->ended) {
        pthread_cancel(m_hCaptureThread);
    }
}

// A thread that waits, or sleeps, leaves the object at once when it is cancelled, and must have
// left before the caller may delete it. One that hangs in the platform does not come back to the
// object of its own accord.
void CCaptureBase::AwaitCancelledThread() {
    if (m_eventCaptureExit.wait(kCancelWaitMs)) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_pThreadRun->mutex);
    m_pThreadRun->abandoned = true;
}

bool CCaptureBase::PauseCapture(bool bPause) {
    if (bPause == m_bPause) {
        return false;
    }
    if (bPause) {
        TRACE_INFO("CCaptureBase::PauseCapture... Pause!");
    } else {
        TRACE_INFO("CCaptureBase::PauseCapture... Resume!");
    }
    m_bPause = bPause;
    return true;
}

bool CCaptureBase::SwitchMode(unsigned int mode) {
    if (!SerialModeEnabled()) {
        TRACE_INFO("CCaptureBase::SwitchMode()... disable");
        return false;
    }
    switch (mode) {
        case PARALLEL_CAPTURE_MODE:
            m_bPause = false;
            m_eCaptureMode = PARALLEL_CAPTURE_MODE;
            TRACE_INFO("CCaptureBase::SwitchMode()... PARALLEL_CAPTURE_MODE");
            return true;
        case SERIAL_CAPTURE_MODE:
            m_bPause = true;
            m_eCaptureMode = SERIAL_CAPTURE_MODE;
            TRACE_INFO("CCaptureBase::SwitchMode()... SERIAL_CAPTURE_MODE");
            return true;
        default:
            TRACE_INFO("CCaptureBase::SwitchMode()... unknowed");
            return false;
    }
}

void CCaptureBase::SetCaptureMode(CAP_MODE mode) {
    TRACE_INFO("CCaptureBase::SetCaptureMode begin. cap mode:", mode);
    if (mode == SERIAL_CAPTURE_MODE && !SerialModeEnabled()) {
        TRACE_INFO("CCaptureBase::SetCaptureMode, not support serial, change to parallel.");
        mode = PARALLEL_CAPTURE_MODE;
    }
    m_eCaptureMode = mode;
    TRACE_INFO("CCaptureBase::SetCaptureMode end.");
}

bool CCaptureBase::SerialModeEnabled() {
    return false;
}

CAP_DESKTOP_DATA CCaptureBase::CaptureScreen() {
    return {};
}

void CCaptureBase::CaptureThreadMsgProc() {}

bool CCaptureBase::DoCapture() {
    return true;
}

void CCaptureBase::ResetStopEvent() {
    m_eventCaptureExit.reset_event();
}

void CCaptureBase::SetStopEvent() {
    m_eventCaptureExit.set_event();
}

uint32_t CCaptureBase::GetLastErrorCode() const {
    return m_nLastErrorCode;
}

uint32_t CCaptureBase::GetErrorCount() const {
    return m_nErrorCount;
}

void CCaptureBase::SetCustomVersion(uint32_t nCustomVersion) {
    m_nCustomVersion = nCustomVersion;
}

void* CCaptureBase::CaptureThread(void* param) {
    // Given up before it began: the object may be gone. Nothing can tell one that stalls right
    // here.
    pthread_testcancel();
    auto* const capture = static_cast<CCaptureBase*>(param);
    CaptureThreadScope scope(capture == nullptr ? nullptr : capture->m_pThreadRun);
    TRACE_INFO("CCaptureBase::CaptureThread()... Begin!");
    if (capture != nullptr) {
        ThreadEnd end{*capture, scope};
        bool givenUp = false;
        pthread_cleanup_push(ThreadEnd::Tell, &end);
        givenUp = !capture->RunOnThread();
        pthread_cleanup_pop(1);
        if (givenUp) {
            return nullptr;
        }
    }
    TRACE_INFO("CCaptureBase::CaptureThread()... End!");
    return nullptr;
}

// False when the thread was given up meanwhile. No exception may pass the cleanup handler, and by
// one of a backend's the thread ends: the object may be gone.
PASSED_BY_CANCELLATION bool CCaptureBase::RunOnThread() {
    try {
        leaveIfGivenUp();
        ResetStopEvent();
        Capture();
    } catch (const ThreadGivenUp&) {
        return false;
    }
    LET_CANCELLATION_PASS
    catch (...) {
        TRACE_ERROR("CCaptureBase::Capture()... ended by an exception!");
    }
    return true;
}

void CCaptureBase::Capture() {
    TRACE_INFO("CCaptureBase::Capture()... Begin");
    const bool isReady = Init();
    leaveIfGivenUp();
    if (!isReady) {
        TRACE_ERROR("CCaptureBase::Capture... Init failed");
        return;
    }
    m_dwFrameID = 0;
    m_iCapFailResult = 0;
    TRACE_INFO("m_bStop = ", m_bStop.load());
    CaptureLoop();
    UnInit();
    m_bStop = false;
    TRACE_INFO("CCaptureBase::Capture()... End");
}

void CCaptureBase::CaptureLoop() {
    FailureRun run;
    while (!m_bStop) {
        if (!CaptureRound(run)) {
            return;
        }
    }
}

// One round of the loop; false when failures have lasted too long.
bool CCaptureBase::CaptureRound(FailureRun& run) {
    const uint32_t period = framePeriodMs(m_nCurFrameRate);
    const uint32_t roundStart = get_tick_count();
    CaptureThreadMsgProc();
    leaveIfGivenUp();
    if (m_bPause) {
        sleepCancellably(kPauseSleepUs);
        return true;
    }
    const bool isCaptured = DoCapture();
    leaveIfGivenUp();
    if (!isCaptured) {
        return RetryAfterFailure(run, roundStart, period);
    }
    run = {};
    if (static_cast<int>(m_eCapMethod) != kUncountedMethod) {
        OnCaptureSuccess();
    }
    Pace(roundStart, period);
    return true;
}

// Retries come after a short sleep and after a paced wait in turn.
bool CCaptureBase::RetryAfterFailure(FailureRun& run, uint32_t roundStart, uint32_t period) {
    if (run.tryCount == 0) {
        run.tryCount = 1;
        run.failStart = get_tick_count();
        sleepCancellably(kRetrySleepUs);
        return true;
    }
    const uint32_t elapsed = roundStart - run.failStart;
    if (elapsed > kFailureTimeoutMs) {
        m_bCaptureFailed = true;
        TRACE_ERROR("CCaptureBase::Capture() failed timout=", elapsed,
                    ", uiTryCapCount=", run.tryCount);
        return false;
    }
    ++run.tryCount;
    if (run.tryCount % 2 == 1) {
        sleepCancellably(kRetrySleepUs);
    } else {
        Pace(roundStart, period);
    }
    return true;
}

// Sleeps out what is left of the period that began at roundStart.
void CCaptureBase::Pace(uint32_t roundStart, uint32_t period) const {
    const uint32_t spent = get_tick_count() - roundStart;
    const uint32_t remaining = spent < period ? period - spent : 1;
    const bool paced = m_nPacingMode != kNeverPace && m_dwFrameID >= kUnpacedFrames;
    const uint32_t waitMs = paced ? std::min(remaining, kLongestWaitMs) : 1;
    sleepCancellably(waitMs * kUsPerMs);
}

void CCaptureBase::OnCaptureSuccess() {
    const uint32_t frame = m_dwFrameID;
    if (frame % kTracedFrameInterval == 0) {
        TRACE_INFO("CCaptureBase::Capture... capture success  ID:", frame);
    }
    m_dwFrameID = frame + 1;
}

bool CCaptureBase::SetMaxFrameRate(int nFrameRate) {
    TRACE_INFO("CCaptureBase::SetMaxFrameRate... Begin!");
    if (nFrameRate < 1) {
        TRACE_ERROR("CCaptureBase::SetMaxFrameRate... param nFrameRate invalid!");
        return false;
    }
    m_nMaxFrameRate = nFrameRate;
    m_nCurFrameRate = std::min(nFrameRate, m_nCurFrameRate.load());
    TRACE_INFO("CCaptureBase::SetMaxFrameRate...End! FrameRate: ", nFrameRate);
    return true;
}

int CCaptureBase::GetMaxFrameRate() const {
    return m_nMaxFrameRate;
}

int CCaptureBase::GetCurFrameRate() const {
    return m_nCurFrameRate;
}

bool CCaptureBase::UpdateFrameRate(unsigned int rate) {
    TRACE_INFO("CCaptureBase::UpdateFrameRate int, framerate: ", rate);
    const auto maximum = static_cast<unsigned int>(m_nMaxFrameRate.load());
    m_nCurFrameRate = static_cast<int32_t>(std::min(maximum, rate));
    TRACE_INFO("CCaptureBase::UpdateFrameRate out, framerate: ", m_nCurFrameRate.load());
    return true;
}

uint32_t CCaptureBase::UniversalGetTick() {
    clock_serv_t clock{};
    mach_timespec_t time{};
    host_get_clock_service(mach_host_self(), CALENDAR_CLOCK, &clock);
    clock_get_time(clock, &time);
    mach_port_deallocate(mach_task_self(), clock);
    return static_cast<uint32_t>(static_cast<uint64_t>(time.tv_sec) * 1000 +
                                 static_cast<uint64_t>(time.tv_nsec) / 1000000);
}

void CCaptureBase::AllocBuffer(unsigned int dwSize) {
    TRACE_BUFFER(trace::kInformation, "CCaptureBase::AllocBuffer..dwSize = ", dwSize,
                 ", m_nbufSize = ", m_nbufSize.load());
    if (m_nbufSize != dwSize) {
        DeallocBuffer();
    }
    const CancellableLock bufferLock(m_csBuffer);
    const SectionLock appBufferLock(m_csAppBuffer);
    if (dwSize == 0) {
        m_nbufSize = 0;
        m_lpBuffer = nullptr;
        m_lpAppBuffer = nullptr;
        return;
    }
    if (m_lpBuffer != nullptr) {
        return;
    }
    m_lpBuffer = AllocateFrame(dwSize);
    if (m_lpBuffer == nullptr) {
        AbandonBuffers();
        return;
    }
    TRACE_INFO("CCaptureBase::AllocBuffer [Mem] m_lpBuffer dwSize = ", dwSize,
               ", m_lpBuffer =", static_cast<const void*>(m_lpBuffer));
    m_nbufSize = dwSize;
    if (usesAppBuffer(m_eCapType)) {
        AllocAppBuffer(dwSize);
    }
}

void CCaptureBase::AllocAppBuffer(unsigned int dwSize) {
    m_lpAppBuffer = AllocateFrame(dwSize);
    if (m_lpAppBuffer == nullptr) {
        AbandonBuffers();
        return;
    }
    TRACE_INFO("CCaptureBase::AllocBuffer [Mem] m_lpAppBuffer dwSize = ", dwSize,
               ", m_lpAppBuffer = ", static_cast<const void*>(m_lpAppBuffer));
}

// What had been allocated is not freed on this path by rule.
void CCaptureBase::AbandonBuffers() {
    TRACE_ERROR("CCaptureBase::AllocBuffer ERROR");
    m_nbufSize = 0;
    m_lpBuffer = nullptr;
    m_lpAppBuffer = nullptr;
}

// What a stop may have left in use stays: the thread that it gave up may be writing it, and another
// thread of the host be reading it.
bool CCaptureBase::IsLeftInUse() const {
    return m_pThreadRun->isAtLarge() || (m_pThreadRun->cancelled && IsRead() && !IsReadHere());
}

bool CCaptureBase::IsRead() const {
    return m_reader.load() != std::thread::id();
}

bool CCaptureBase::IsReadHere() const {
    return m_reader.load() == std::this_thread::get_id();
}

void CCaptureBase::DeallocBuffer() {
    if (IsLeftInUse()) {
        TRACE_ERROR("CCaptureBase::DeallocBuffer... still in use, not freed!");
        return;
    }
    if (m_lpBuffer != nullptr) {
        TRACE_INFO("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: ",
                   static_cast<const void*>(m_lpBuffer));
        const CancellableLock lock(m_csBuffer);
        FreeFrame(m_lpBuffer, m_nbufSize);
        m_lpBuffer = nullptr;
    }
    if (m_lpAppBuffer != nullptr) {
        TRACE_INFO("CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: ",
                   static_cast<const void*>(m_lpAppBuffer));
        const CancellableLock lock(m_csAppBuffer);
        FreeFrame(m_lpAppBuffer, m_nbufSize);
        m_lpAppBuffer = nullptr;
    }
    m_nbufSize = 0;
}

bool CCaptureBase::SetFrameSize(tag_Capture_SIZE size) {
    TRACE_INFO("CCaptureBase::SetFrameSize... Begin!");
    if (size.dwWidth == 0 || size.dwHeight == 0) {
        TRACE_ERROR("CCaptureBase::SetFrameRate... param nFrameSize invalid!");
        return false;
    }
    if (size.dwWidth > CaptureWidth() || size.dwHeight > CaptureHeight()) {
        TRACE_ERROR("CCaptureBase::SetFrameRate... param nFrameSize error");
        return false;
    }
    const SectionLock bufferLock(m_csBuffer);
    const SectionLock appBufferLock(m_csAppBuffer);
    if (m_lpBuffer != nullptr) {
        CHECKED_CALL(
            memset_s(m_lpBuffer, m_nbufSize * sizeof(uint8), 0, m_nbufSize * sizeof(uint8)));
    }
    if (m_lpAppBuffer != nullptr) {
        CHECKED_CALL(
            memset_s(m_lpAppBuffer, m_nbufSize * sizeof(uint8), 0, m_nbufSize * sizeof(uint8)));
    }
    m_oScaling.Initialize({CaptureWidth(), CaptureHeight()}, size);
    TRACE_INFO("CCaptureBase::SetFrameSize...End! w: ", size.dwWidth, ",h:", size.dwHeight);
    return true;
}

CAP_DESKTOP_DATA CCaptureBase::LockBuffer() {
    CAP_DESKTOP_DATA stDesktopData{};
    CHECKED_CALL(memset_s(&stDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA)));
    if (m_bStop) {
        TRACE_BUFFER(trace::kInformation, "CCaptureBase::LockBuffer m_bStop == true.");
        return stDesktopData;
    }
    if (m_dwFrameID == 0) {
        ReleaseReader();
        m_csBuffer.unlock();  // unmatched by rule; without effect where the lock knows its owner
        return stDesktopData;
    }
    m_csBuffer.lock();
    const CAP_SIZE size = m_oScaling.GetCapFrameSize();
    stDesktopData.pData = TakesFrame() ? m_lpBuffer : nullptr;
    stDesktopData.dwWidth = size.dwWidth;
    stDesktopData.dwHeight = size.dwHeight;
    stDesktopData.dwDataLen = size.dwWidth * size.dwHeight * kBytesPerPixel;
    if (stDesktopData.pData == nullptr) {
        m_csBuffer.unlock();
        return stDesktopData;
    }
    m_reader = std::this_thread::get_id();
    ++m_nReaderDepth;
    return stDesktopData;
}

uint8_t CCaptureBase::UnlockBuffer() {
    ReleaseReader();
    m_csBuffer.unlock();
    return m_bStop ? kUnlockedWhileStopping : kUnlocked;
}

// The frame may be locked several times over by the thread that has it. The lock itself, which may
// be another maker's, cannot be asked who has it.
void CCaptureBase::ReleaseReader() {
    if (IsReadHere() && --m_nReaderDepth == 0) {
        m_reader = std::thread::id();
    }
}

// Whether the buffer is as large as a frame of the delivered size. It is made for the first image,
// and the size for the monitor, whose display may have changed in between.
bool CCaptureBase::TakesFrame() const {
    const CAP_SIZE size = m_oScaling.GetCapFrameSize();
    return uint64_t{size.dwWidth} * size.dwHeight <= m_nbufSize / kBytesPerPixel;
}

void CCaptureBase::UpdateBuffer(const unsigned char* pData, unsigned int nLen) {
    if (m_bPause) {
        return;
    }
    const CancellableLock lock(m_csBuffer);
    if (m_dwUpdateCount % kTracedFrameInterval == 0) {
        TRACE_INFO("CCaptureBase::Capture... UpdateBuffer capture success  ID:", m_dwUpdateCount);
    }
    ++m_dwUpdateCount;
    if (m_lpBuffer == nullptr || m_nbufSize < nLen) {
        TRACE_BUFFER(trace::kError, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ");
        return;
    }
    CHECKED_CALL(memcpy_s(m_lpBuffer, m_nbufSize, pData, nLen));
}

uint32_t CCaptureBase::Resize(void* pData, unsigned int nLen) {
    const CancellableLock lock(m_csBuffer);
    if (m_lpBuffer == nullptr) {
        return 0;
    }
    if (!TakesFrame()) {
        const CAP_SIZE size = m_oScaling.GetCapFrameSize();
        TRACE_ERROR("CCaptureBase::Resize... the frame does not fit! w: ", size.dwWidth,
                    ",h: ", size.dwHeight, ", m_nbufSize = ", m_nbufSize.load());
        return 0;
    }
    return m_oScaling.Resize(static_cast<const unsigned char*>(pData), nLen, m_lpBuffer) ? 1 : 0;
}

bool CCaptureBase::RefusesFrame() {
    const CancellableLock lock(m_csBuffer);
    return m_lpBuffer != nullptr && !TakesFrame();
}

int CCaptureBase::ClearBuffer() {
    const CancellableLock lock(m_csBuffer);
    return m_lpBuffer == nullptr ? 0 : memset_s(m_lpBuffer, m_nbufSize, 0, m_nbufSize);
}

bool CCaptureBase::CheckARGBData(const unsigned char* data, unsigned int width,
                                 unsigned int height) {
    if (data == nullptr || width == 0 || height == 0) {
        return false;
    }
    const FrameCheck check = checkFrame(data, width, height);
    if (!check.uniform) {
        ResetUniformRun();
        return true;
    }
    ++m_nSkipCaptureFrame;
    const uint32_t tick = get_tick_count();
    TRACE_EACH_FRAME(trace::kWarning, "CCaptureBase::CheckARGBData nSkipCaptureFrame=",
                     shortNumber(m_nSkipCaptureFrame).data(), ", rgb=", check.reference,
                     ", width=", width, ", height=", height, ", dwFrameID=", m_dwFrameID.load(),
                     ", pixel_ratio=", check.differing, ", ratio=", check.limit,
                     ", skipFrameTick=", m_dwSkipFrameTick, ", currentTick=", tick);
    if (m_dwSkipFrameTick == 0) {
        m_dwSkipFrameTick = tick;
        return false;
    }
    if (tick - m_dwSkipFrameTick > kUniformGraceMs) {
        ResetUniformRun();
        return true;
    }
    return false;
}

void CCaptureBase::ResetUniformRun() {
    m_nSkipCaptureFrame = 0;
    m_dwSkipFrameTick = 0;
}

void CCaptureBase::SetExcludeWnd(const void* hWnd, tagCapExcWndActType act) {
    TRACE_INFO("CCaptureBase::SetExcludeWnd... Begin!");
    if (act != CAP_EXC_WND_CLEAR && hWnd == nullptr) {
        TRACE_ERROR("CMagCapture::SetExcludeWnd()... Invalid Param!");
        return;
    }
    const SectionLock lock(m_csExcludeWnd);
    const auto window = std::find(m_vecExcludeWnd.begin(), m_vecExcludeWnd.end(), hWnd);
    const bool known = window != m_vecExcludeWnd.end();
    if (act == CAP_EXC_WND_DELETE) {
        if (!known) {
            TRACE_WARNING("CCaptureBase::SetExcludeWnd()... Delete an not existed wnd!");
            return;
        }
        m_vecExcludeWnd.erase(window);
    } else if (act == CAP_EXC_WND_ADD) {
        if (known) {
            TRACE_WARNING("CCaptureBase::SetExcludeWnd()... Add an existed wnd!");
            return;
        }
        excluded_windows::add(m_vecExcludeWnd, hWnd);
    } else if (act == CAP_EXC_WND_CLEAR) {
        m_vecExcludeWnd.clear();
    }
    TRACE_INFO("CCaptureBase::SetExcludeWnd... End!");
}

void CCaptureBase::SetSharedAppWnd(unsigned int nWndID, tagCapAppActType act) {
    TRACE_INFO("CCaptureBase::SetSharedAppWnd... Begin!");
    if (nWndID == 0) {
        TRACE_ERROR("CCaptureBase::SetSharedAppWnd()... Invalid Param!");
        return;
    }
    if (act == CAP_APP_WND_SET) {
        if (m_nWndCaptureID != nWndID) {
            TRACE_ERROR("CCaptureBase::SetSharedAppWnd()... SharedWnd ID changed!");
        }
        m_nWndCaptureID = nWndID;
        TRACE_INFO("CCaptureBase::SetSharedAppWnd()... m_nWndCaptureID = ", nWndID);
    } else {
        m_nWndCaptureID = 0;
    }
    TRACE_INFO("CCaptureBase::SetSharedAppWnd... End!");
}

void CCaptureBase::SetAppShareBackColor(unsigned int nRgnType, unsigned int nBrushType,
                                        unsigned int nColor) {
    TRACE_INFO("CCaptureBase::SetAppShareBackColor...nRgnType = ", nRgnType,
               ", nBrushType = ", nBrushType);
    if (nRgnType < std::size(m_stBackColor)) {
        m_stBackColor[nRgnType] = {nRgnType, nBrushType, nColor};
    }
}
