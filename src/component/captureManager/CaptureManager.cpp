#include "CaptureManager.h"

#include <algorithm>

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

unsigned int CapMgr_GetMonitorCount(void) {
    TRACE_INFO("CAPTURE_MANAGER_API GetMonitorCount...");
    return static_cast<unsigned int>(manager()->GetCount());
}

bool CapMgr_GetMonitorInfo(unsigned int dwIndex, CAP_MONITOR_INFO* pMonitorInfo) {
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

unsigned int CapMgr_GetPrimaryMonitorIndex(void) {
    return indexOrDefault(manager()->GetPrimaryMonitor());
}

unsigned int CapMgr_GetSecondaryMonitorIndex(void) {
    return indexOrDefault(manager()->GetSecondaryMonitor());
}

void CapMgr_GenerateMonitor(int nWidth, int nHeight, unsigned int nBitCount) {
    TRACE_INFO("CAPTURE_MANAGER_API GenerateMonitor... width: ", nWidth, ", height: ", nHeight,
               ", bitcount: ", nBitCount);
    manager()->CreateMonitor(nWidth, nHeight, nBitCount);
}

void CapMgr_DestroyMonitor(void) {
    TRACE_INFO("CAPTURE_MANAGER_API DestroyMonitor...");
    manager()->DestroyMonitor();
}

void CapMgr_UpdateMonitor(void) {
    TRACE_INFO("CAPTURE_MANAGER_API UpdateMonitor...");
    manager()->UpdateMonitor();
}

void CapMgr_OnMonitorInfoChange(void) {
    TRACE_INFO("CAPTURE_MANAGER_API OnMonitorInfoChange... ");
    manager()->OnMonitorInfoChange();
}

void CapMgr_MonitorScreenInfo(unsigned int dwMonitorIndex, double* pScale, CGRect* pFrame) {
    const CMonitor* const monitor = manager()->GetMonitor(dwMonitorIndex);
    const uint32_t displayID = monitor == nullptr ? 0 : monitor->GetDisplayID();
    ScreenInfo(displayID, pScale, pFrame);
    TRACE_INFO("CapMgr_MonitorScreenInfo dwMonitorIndex=", dwMonitorIndex,
               ", displayID=", displayID, ", monitor=", static_cast<const void*>(monitor),
               ", backingScaleFactor=", pScale == nullptr ? 0.0 : *pScale);
}

unsigned int CapMgr_GenerateCaptureIndex(void) {
    TRACE_STEP("CPCR", StepPhrase::CreateCaptureBegin, "[NULL]");
    const unsigned int index = manager()->GenerateCaptureIndex();
    TRACE_INFO("CAPTURE_MANAGER_API GenerateCaptureIndex... capture index: ", index);
    TRACE_STEP("CPCR", StepPhrase::CreateCaptureEnd, "[CapIndex:", index, "]");
    return index;
}

uint32_t CapMgr_StartCapture(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                             CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                             unsigned int dwCustomVersion, CAP_MODE eCapMode) {
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
    CCaptureBase* const capture = record->pCapture;
    const uint32_t result =
        capture == nullptr ? kStartFailed : startWithStoredSettings(*capture, *record);
    TRACE_STEP("CPST", StepPhrase::StartCaptureEnd, "[Ret:", static_cast<int>(result),
               ", CapType:", nCaptureType,
               ", FrameRate:", capture == nullptr ? 0 : static_cast<int>(record->dwMaxFrameRate),
               "]");
    return result;
}

bool CapMgr_StopCapture(unsigned int dwCaptureIndex, int FlushWnd) {
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

bool CapMgr_PauseCapture(unsigned int dwCaptureIndex) {
    TRACE_INFO("CAPTURE_MANAGER_API PauseCapture... capture index: ", dwCaptureIndex);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->PauseCapture(true);
}

bool CapMgr_ResumeCapture(unsigned int dwCaptureIndex) {
    TRACE_INFO("CAPTURE_MANAGER_API ResumeCapture... capture index: ", dwCaptureIndex);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->PauseCapture(false);
}

bool CapMgr_IsSerialCapMode(unsigned int dwCaptureIndex) {
    const CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture != nullptr && pCapture->GetCaptureMode() == SERIAL_CAPTURE_MODE;
}

bool CapMgr_SetCaptureFrameSize(unsigned int dwCaptureIndex, CAP_SIZE stSize) {
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

CAP_DESKTOP_DATA CapMgr_CaptureScreenBuffer(unsigned int dwCaptureIndex) {
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

CAP_DESKTOP_DATA CapMgr_LockScreenBuffer(unsigned int dwCaptureIndex) {
    CAP_DESKTOP_DATA stRetDesktopData{};
    CHECKED_CALL(
        memset_s(&stRetDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA)));
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    return pCapture == nullptr ? stRetDesktopData : pCapture->LockBuffer();
}

unsigned int CapMgr_UnlockScreenBuffer(unsigned int dwCaptureIndex) {
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr || !pCapture->IsReadHere()) {
        CMonitorManager::UnlockKeptCapture(dwCaptureIndex);
    }
    return pCapture == nullptr ? 0 : pCapture->UnlockBuffer();
}

void CapMgr_UpdateScreenBuffer(unsigned int dwCaptureIndex, const unsigned char* pData,
                               unsigned int nLength) {
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

bool CapMgr_SetMaxFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate) {
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

bool CapMgr_UpdateFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate) {
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

int CapMgr_GetMaxFrameRate(unsigned int dwCaptureIndex) {
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

int CapMgr_GetCurFrameRate(unsigned int dwCaptureIndex) {
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

int CapMgr_GetCapFailResult(unsigned int dwCaptureIndex) {
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

void CapMgr_SetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd,
                          tagCapExcWndActType eAction) {
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

void CapMgr_SetSharedAppWnd(unsigned int dwCaptureIndex, unsigned int nAppWndID,
                            tagCapAppActType eAction) {
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

void CapMgr_SetAppShareBgColor(unsigned int dwCaptureIndex, unsigned int nRgnType,
                               unsigned int nBrushType, unsigned int nColor) {
    TRACE_INFO("SetAppShareBgColor... dwIndex = ", dwCaptureIndex, " rgnType = ", nRgnType,
               " brushType = ", nBrushType, " clrref = ", nColor);
    CCaptureBase* const pCapture = manager()->GetCaptureInstance(dwCaptureIndex);
    if (pCapture == nullptr) {
        TRACE_INFO("SetAppShareBgColor... pCapture == NULL");  // not an error, by rule
        return;
    }
    pCapture->SetAppShareBackColor(nRgnType, nBrushType, nColor);
}
