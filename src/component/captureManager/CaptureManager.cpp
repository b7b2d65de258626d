#include "CaptureManager.h"

#include <algorithm>

#include "Cancellation.h"
#include "CaptureBase.h"
#include "Monitor.h"
#include "MonitorManager.h"
#include "ScreenInfo.h"
#include "Trace.h"
#include "kxcommon64.h"

namespace {

constexpr char kSourcePath[] = "src/component/captureManager/CaptureManager";

constexpr unsigned int kHighestFrameRate = 30;
constexpr uint32_t kStartFailed = 1;
constexpr unsigned int kNoCaptureIndex = 0xFFFFFFFF;

// Ends the body of an exported function, which is a try block: nothing is thrown across the
// interface. Whoever's exception it is says that memory is short.
#define RETURN_WHEN_THROWN(result)                     \
    LET_CANCELLATION_PASS                              \
    catch (...) {                                      \
        TRACE_ERROR(__func__, "... memory is short!"); \
        return result;                                 \
    }

CMonitorManager* manager() {
    return CMonitorManager::GetInstance();
}

// Hands the settings stored before the start to the new capture object, then starts it.
uint32_t startWithStoredSettings(CCaptureBase& capture, const StructCaptureMgr& record) {
    if (record.dwMaxFrameRate != 0) {
        capture.SetMaxFrameRate(static_cast<int>(record.dwMaxFrameRate));
    }
    if (record.stFrameSize.dwWidth != 0 && record.stFrameSize.dwHeight != 0) {
        capture.SetFrameSize(record.stFrameSize);
    }
    for (const void* window : record.vecPresetExcludeWnd) {
        capture.SetExcludeWnd(window, CAP_EXC_WND_ADD);
    }
    return capture.StartCapture();
}

// A capture that lacks one of the settings, a window to leave out among them, is not to run.
uint32_t startWithAllSettings(unsigned int dwCaptureIndex, const StructCaptureMgr& record) {
    try {
        return startWithStoredSettings(*record.pCapture, record);
    } catch (...) {
        record.pCapture->StopCapture();
        manager()->DeleteCaptureInstance(dwCaptureIndex);
        throw;
    }
}

// Before a start the windows to leave out are kept with the capture index.
void editStoredExclusions(unsigned int dwCaptureIndex, const void* hWnd,
                          tagCapExcWndActType eAction) {
    switch (eAction) {
        case CAP_EXC_WND_CLEAR:
            return manager()->ClearPresetExcludeWnds(dwCaptureIndex);
        case CAP_EXC_WND_ADD:
            return manager()->PushPresetExcludeWnd(dwCaptureIndex, hWnd);
        case CAP_EXC_WND_DELETE:
            return manager()->ErasePresetExcludeWnd(dwCaptureIndex, hWnd);
        default:
            return;
    }
}

unsigned int indexOrDefault(const CMonitor* monitor) {
    if (monitor == nullptr) {
        // The secondary monitor's function names the primary one's too, by rule.
        TRACE_ERROR("CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!");
        return 0;
    }
    return monitor->GetIndex();
}

}  // namespace

unsigned int CapMgr_GetMonitorCount(void) try {
    TRACE_INFO("CAPTURE_MANAGER_API GetMonitorCount...");
    return static_cast<unsigned int>(manager()->GetCount());
}
RETURN_WHEN_THROWN(0)

bool CapMgr_GetMonitorInfo(unsigned int dwIndex, CAP_MONITOR_INFO* pMonitorInfo) try {
    TRACE_INFO("CAPTURE_MANAGER_API GetMonitorInformation...");
    if (pMonitorInfo == nullptr) {
        TRACE_ERROR("GetMonitorInformation()... pMonitorInfo is NULL!");
        return false;
    }
    CHECKED_CALL(memset_s(pMonitorInfo, sizeof(CAP_MONITOR_INFO), 0, sizeof(CAP_MONITOR_INFO)));
    const CMonitor* const monitor = manager()->GetMonitor(dwIndex);
    if (monitor == nullptr) {
        TRACE_ERROR("GetMonitorInformation()... Invalid dwIndex!");
        return false;
    }
    pMonitorInfo->dwIndex = dwIndex;
    const char* const cstrMonitorName = monitor->GetName().c_str();
    CHECKED_CALL(strncpy_s(pMonitorInfo->cstrName, MAX_MONITOR_NAME_LEN, cstrMonitorName,
                           MAX_MONITOR_NAME_LEN - 1));
    pMonitorInfo->cstrName[MAX_MONITOR_NAME_LEN - 1] = '\0';
    monitor->GetMonitorRect(pMonitorInfo->rcMonitor);
    pMonitorInfo->dwBitsPerPixel = monitor->GetBitsPerPixel();
    pMonitorInfo->dwFrequency = monitor->GetDisplayFrequency();
    pMonitorInfo->bPrimary = monitor->IsPrimaryMonitor();
    TRACE_INFO("GetMonitorInformation()... Name:", pMonitorInfo->cstrName,
               ", Index:", pMonitorInfo->dwIndex, ", BitsPerPixel:", pMonitorInfo->dwBitsPerPixel,
               ", Primary:", pMonitorInfo->bPrimary);
    return true;
}
RETURN_WHEN_THROWN(false)

unsigned int CapMgr_GetPrimaryMonitorIndex(void) try {
    return indexOrDefault(manager()->GetPrimaryMonitor());
}
RETURN_WHEN_THROWN(0)

unsigned int CapMgr_GetSecondaryMonitorIndex(void) try {
    return indexOrDefault(manager()->GetSecondaryMonitor());
}
RETURN_WHEN_THROWN(0)

void CapMgr_GenerateMonitor(int nWidth, int nHeight, unsigned int nBitCount) try {
    TRACE_INFO("CAPTURE_MANAGER_API GenerateMonitor... width: ", nWidth, ", height: ", nHeight,
               ", bitcount: ", nBitCount);
    manager()->CreateMonitor(nWidth, nHeight, nBitCount);
}
RETURN_WHEN_THROWN()

void CapMgr_DestroyMonitor(void) try {
    TRACE_INFO("CAPTURE_MANAGER_API DestroyMonitor...");
    manager()->DestroyMonitor();
}
RETURN_WHEN_THROWN()

void CapMgr_UpdateMonitor(void) try {
    TRACE_INFO("CAPTURE_MANAGER_API UpdateMonitor...");
    manager()->UpdateMonitor();
}
RETURN_WHEN_THROWN()

void CapMgr_OnMonitorInfoChange(void) try {
    TRACE_INFO("CAPTURE_MANAGER_API OnMonitorInfoChange... ");
    manager()->OnMonitorInfoChange();
}
RETURN_WHEN_THROWN()

void CapMgr_MonitorScreenInfo(unsigned int dwMonitorIndex, double* pScale, CGRect* pFrame) try {
    if (pScale != nullptr) {
        *pScale = 0.0;
    }
    if (pFrame != nullptr) {
        *pFrame = CGRect{};
    }
    const CMonitor* const monitor = manager()->GetMonitor(dwMonitorIndex);
    const uint32_t displayID = monitor == nullptr ? 0 : monitor->GetDisplayID();
    ScreenInfo(displayID, pScale, pFrame);
    TRACE_INFO("CapMgr_MonitorScreenInfo dwMonitorIndex=", dwMonitorIndex,
               ", displayID=", displayID, ", monitor=", static_cast<const void*>(monitor),
               ", backingScaleFactor=", pScale == nullptr ? 0.0 : *pScale);
}
RETURN_WHEN_THROWN()

unsigned int CapMgr_GenerateCaptureIndex(void) try {
    TRACE_STEP("CPCR", StepPhrase::CreateCaptureBegin, "[NULL]");
    const unsigned int index = manager()->GenerateCaptureIndex();
    TRACE_INFO("CAPTURE_MANAGER_API GenerateCaptureIndex... capture index: ", index);
    TRACE_STEP("CPCR", StepPhrase::CreateCaptureEnd, "[CapIndex:", index, "]");
    return index;
}
RETURN_WHEN_THROWN(kNoCaptureIndex)

uint32_t CapMgr_StartCapture(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                             CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                             unsigned int dwCustomVersion, CAP_MODE eCapMode) try {
    TRACE_INFO("CAPTURE_MANAGER_API StartCapture... capture index: ", dwCaptureIndex,
               ", monitor index: ", dwMonitorIndex, ", capture type: ", nCaptureType,
               ", share type: ", nShareType, ", CustomVersion: ", dwCustomVersion);
    TRACE_STEP("CPST", StepPhrase::StartCaptureBegin, "[CapIndex:", dwCaptureIndex,
               ", MonitorIndex:", dwMonitorIndex, ", CapType:", nCaptureType,
               ", ShareType:", nShareType, ", CustomVer:", dwCustomVersion, "]");
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("StartCapture... param dwCaptureIndex invalid!");
        return kStartFailed;
    }
    if (!manager()->AddCaptureInstance(dwCaptureIndex, dwMonitorIndex, nCaptureType, nShareType,
                                       dwCustomVersion, eCapMode)) {
        TRACE_WARNING("StartCapture()... AddCaptureInstance failed!");
        return kStartFailed;
    }
    // Null where a host has put a registry of its own in front, whose addition makes no object.
    const bool isAdded = record->pCapture != nullptr;
    const uint32_t result = isAdded ? startWithAllSettings(dwCaptureIndex, *record) : kStartFailed;
    TRACE_STEP("CPST", StepPhrase::StartCaptureEnd, "[Ret:", static_cast<int>(result),
               ", CapType:", nCaptureType,
               ", FrameRate:", isAdded ? static_cast<int>(record->dwMaxFrameRate) : 0, "]");
    return result;
}
RETURN_WHEN_THROWN(kStartFailed)

bool CapMgr_StopCapture(unsigned int dwCaptureIndex, int FlushWnd) try {
    TRACE_INFO("CAPTURE_MANAGER_API StopCapture...  capture index: ", dwCaptureIndex);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    TRACE_STEP("CPSP", StepPhrase::StopCaptureBegin, "[CapIndex:", dwCaptureIndex,
               ", FlushWnd:", FlushWnd, ", pCapture:", static_cast<const void*>(pCapture), "]");
    if (pCapture != nullptr) {
        pCapture->StopCapture();
        manager()->DeleteCaptureInstance(dwCaptureIndex);
        if (FlushWnd == 1) {
            manager()->ClearPresetExcludeWnds(dwCaptureIndex);
        }
    }
    TRACE_STEP("CPSP", StepPhrase::StopCaptureEnd, "[Ret:", pCapture != nullptr, "]");
    return pCapture != nullptr;
}
RETURN_WHEN_THROWN(false)

bool CapMgr_PauseCapture(unsigned int dwCaptureIndex) try {
    TRACE_INFO("CAPTURE_MANAGER_API PauseCapture... capture index: ", dwCaptureIndex);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->PauseCapture(true);
}
RETURN_WHEN_THROWN(false)

bool CapMgr_ResumeCapture(unsigned int dwCaptureIndex) try {
    TRACE_INFO("CAPTURE_MANAGER_API ResumeCapture... capture index: ", dwCaptureIndex);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->PauseCapture(false);
}
RETURN_WHEN_THROWN(false)

bool CapMgr_IsSerialCapMode(unsigned int dwCaptureIndex) try {
    const CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->GetCaptureMode() == SERIAL_CAPTURE_MODE;
}
RETURN_WHEN_THROWN(false)

bool CapMgr_SetCaptureFrameSize(unsigned int dwCaptureIndex, CAP_SIZE stSize) try {
    TRACE_INFO("SetCaptureFrameSize... cap index: ", dwCaptureIndex, ", w: ", stSize.dwWidth,
               ", h: ", stSize.dwHeight);
    StructCaptureMgr* const pCapMgr = manager()->GetCaptureMgr(dwCaptureIndex);
    if (pCapMgr == nullptr) {
        TRACE_ERROR("SetCaptureFrameSize... param dwCaptureIndex invalid!");
        return false;
    }
    if (stSize.dwWidth == 0 || stSize.dwHeight == 0) {
        TRACE_ERROR("SetFrameRate... param stSize invalid!");
        return false;
    }
    CHECKED_CALL(memcpy_s(&pCapMgr->stFrameSize, sizeof(CAP_SIZE), &stSize, sizeof(CAP_SIZE)));
    return pCapMgr->pCapture == nullptr || pCapMgr->pCapture->SetFrameSize(stSize);
}
RETURN_WHEN_THROWN(false)

CAP_DESKTOP_DATA CapMgr_CaptureScreenBuffer(unsigned int dwCaptureIndex) try {
    CAP_DESKTOP_DATA stRetDesktopData{};
    CHECKED_CALL(
        memset_s(&stRetDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA)));
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr) {
        TRACE_FRAME_PATH(trace::kError, " pCapture == NULL");
        return stRetDesktopData;
    }
    return pCapture->CaptureScreen();
}
RETURN_WHEN_THROWN(CAP_DESKTOP_DATA{})

CAP_DESKTOP_DATA CapMgr_LockScreenBuffer(unsigned int dwCaptureIndex) try {
    CAP_DESKTOP_DATA stRetDesktopData{};
    CHECKED_CALL(
        memset_s(&stRetDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA)));
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture == nullptr ? stRetDesktopData : pCapture->LockBuffer();
}
RETURN_WHEN_THROWN(CAP_DESKTOP_DATA{})

unsigned int CapMgr_UnlockScreenBuffer(unsigned int dwCaptureIndex) try {
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr || !pCapture->IsReadHere()) {
        CMonitorManager::UnlockKeptCapture(dwCaptureIndex);
    }
    return pCapture == nullptr ? 0 : pCapture->UnlockBuffer();
}
RETURN_WHEN_THROWN(0)

void CapMgr_UpdateScreenBuffer(unsigned int dwCaptureIndex, const unsigned char* pData,
                               unsigned int nLength) try {
    TRACE_EACH_FRAME(trace::kInformation,
                     "CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: ", dwCaptureIndex,
                     ", bmp length:", nLength);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr) {
        TRACE_ERROR("CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL");
        return;
    }
    pCapture->UpdateBuffer(pData, nLength);
}
RETURN_WHEN_THROWN()

bool CapMgr_SetMaxFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate) try {
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_SetMaxFrameRate... capture index: ", dwCaptureIndex,
               ", framerate: ", nFrameRate);
    StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CapMgr_SetMaxFrameRate... param dwCaptureIndex invalid!");
        return false;
    }
    if (nFrameRate == 0) {
        TRACE_ERROR("CapMgr_SetMaxFrameRate... param nFrameRate invalid!");
        return false;
    }
    const unsigned int rate = std::min(nFrameRate, kHighestFrameRate);
    if (record->pCapture == nullptr) {
        record->dwMaxFrameRate = rate;
        return true;
    }
    return record->pCapture->SetMaxFrameRate(static_cast<int>(rate));
}
RETURN_WHEN_THROWN(false)

bool CapMgr_UpdateFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate) try {
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_UpdateFrameRate... capture index: ", dwCaptureIndex,
               ", framerate: ", nFrameRate);
    StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CapMgr_UpdateFrameRate... param dwCaptureIndex invalid!");
        return false;
    }
    if (nFrameRate == 0) {
        TRACE_ERROR("CapMgr_UpdateFrameRate... param nFrameRate invalid!");
        return false;
    }
    if (record->pCapture == nullptr) {
        record->dwMaxFrameRate = nFrameRate;  // unclamped, unlike a maximum
        return true;
    }
    return record->pCapture->UpdateFrameRate(nFrameRate);
}
RETURN_WHEN_THROWN(false)

int CapMgr_GetMaxFrameRate(unsigned int dwCaptureIndex) try {
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetMaxFrameRate... capture index: ", dwCaptureIndex);
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CapMgr_GetMaxFrameRate... param dwCaptureIndex invalid!");
        return 0;
    }
    const int iFrameRate = record->pCapture == nullptr ? static_cast<int>(record->dwMaxFrameRate)
                                                       : record->pCapture->GetMaxFrameRate();
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetMaxFrameRate... iFrameRate: ", iFrameRate);
    return iFrameRate;
}
RETURN_WHEN_THROWN(0)

int CapMgr_GetCurFrameRate(unsigned int dwCaptureIndex) try {
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetCurFrameRate... capture index: ", dwCaptureIndex);
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CapMgr_GetCurFrameRate... param dwCaptureIndex invalid!");
        return 0;
    }
    const int iFrameRate = record->pCapture == nullptr ? static_cast<int>(record->dwMaxFrameRate)
                                                       : record->pCapture->GetCurFrameRate();
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetCurFrameRate... iFrameRate: ", iFrameRate);
    return iFrameRate;
}
RETURN_WHEN_THROWN(0)

int CapMgr_GetCapFailResult(unsigned int dwCaptureIndex) try {
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetCapFailResult... capture index: ", dwCaptureIndex);
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CapMgr_GetCapFailResult... param dwCaptureIndex invalid!");
        return 0;
    }
    int iCapFailResult = 0;
    if (record->pCapture != nullptr) {
        iCapFailResult = record->pCapture->GetCapFailResult();
        TRACE_FRAME_PATH(trace::kInformation, " iCapFailResult: ", iCapFailResult);
    } else {
        TRACE_FRAME_PATH(trace::kInformation, " iCapFailResult:0 ");
    }
    TRACE_INFO("CAPTURE_MANAGER_API CapMgr_GetCapFailResult... iCapFailResult: ", iCapFailResult);
    return iCapFailResult;
}
RETURN_WHEN_THROWN(0)

void CapMgr_SetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd,
                          tagCapExcWndActType eAction) try {
    TRACE_INFO("CAPTURE_MANAGER_API SetExcludeWnd...capture index: ", dwCaptureIndex,
               ", window ID: ", hWnd != nullptr, ", action type: ", eAction);
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("SetExcludeWnd... param dwCaptureIndex invalid!");
        return;
    }
    if (record->pCapture == nullptr) {
        editStoredExclusions(dwCaptureIndex, hWnd, eAction);
        return;
    }
    record->pCapture->SetExcludeWnd(hWnd, eAction);
}
RETURN_WHEN_THROWN()

void CapMgr_SetSharedAppWnd(unsigned int dwCaptureIndex, unsigned int nAppWndID,
                            tagCapAppActType eAction) try {
    TRACE_STEP("CPSW", StepPhrase::ShareWindowsBegin, "[Index:", dwCaptureIndex,
               ", Action:", eAction, ", nAppWndID:", nAppWndID, "]");
    const StructCaptureMgr* const record = manager()->GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("SetSharedAppWnd... param dwCaptureIndex invalid!");
        return;
    }
    if (record->pCapture == nullptr) {
        TRACE_ERROR("SetSharedAppWnd... param pCapture invalid!");
    } else {
        record->pCapture->SetSharedAppWnd(nAppWndID, eAction);
    }
    TRACE_STEP("CPSW", StepPhrase::ShareWindowsEnd, "[NULL]");
}
RETURN_WHEN_THROWN()

void CapMgr_SetAppShareBgColor(unsigned int dwCaptureIndex, unsigned int nRgnType,
                               unsigned int nBrushType, unsigned int nColor) try {
    TRACE_INFO("SetAppShareBgColor... dwIndex = ", dwCaptureIndex, " rgnType = ", nRgnType,
               " brushType = ", nBrushType, " clrref = ", nColor);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr) {
        TRACE_INFO("SetAppShareBgColor... pCapture == NULL");  // not an error, by rule
        return;
    }
    pCapture->SetAppShareBackColor(nRgnType, nBrushType, nColor);
}
RETURN_WHEN_THROWN()
