#include "MonitorManager.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <map>
#include <memory>
#include <new>
#include <utility>

#include "CaptureBase.h"
#include "CaptureMac.h"
#include "DisplayImages.h"
#include "ExcludedWindows.h"
#include "Monitor.h"
#include "PlatformRef.h"
#include "Trace.h"
#include "kxcommon64.h"

namespace {

constexpr char kSourcePath[] = "src/component/captureManager/MonitorManager";

constexpr unsigned int kNoCaptureIndex = 0xFFFFFFFF;

// Fills displays in the platform's order. False, after a trace, when the platform fails.
bool listActiveDisplays(std::vector<CGDirectDisplayID>& displays) {
    uint32_t count = 0;
    if (CGGetActiveDisplayList(0, nullptr, &count) != kCGErrorSuccess) {
        TRACE_ERROR("CMonitorManager::UpdateMonitors CGGetActiveDisplayList1st Err!");
        return false;
    }
    displays.resize(count);
    if (CGGetActiveDisplayList(count, displays.data(), &count) != kCGErrorSuccess) {
        TRACE_ERROR("CMonitorManager::UpdateMonitors CGGetActiveDisplayList2nd Err!");
        return false;
    }
    displays.resize(std::min<size_t>(count, displays.size()));
    return true;
}

// Whether the display's mode still has the size that the monitor was made with.
bool geometryIsCurrent(const CMonitor& monitor) {
    tagCaptureRect rect{};
    monitor.GetMonitorRect(rect);
    return static_cast<int32_t>(monitor.GetPixelWidth()) == rect.right - rect.left &&
           static_cast<int32_t>(monitor.GetPixelHeight()) == rect.bottom - rect.top;
}

void traceMonitor(const CMonitor& monitor) {
    tagCaptureRect rect{};
    monitor.GetMonitorRect(rect);
    TRACE_STEP("CPMO", StepPhrase::MonitorInformation, "[Index:", monitor.GetIndex(),
               ", L:", rect.left, ", R:", rect.right, ", T:", rect.top, ", B:", rect.bottom,
               ", Primary:", monitor.IsPrimaryMonitor(), ", Name:", monitor.GetName(), "]");
}

CMonitor* firstMonitor(const std::vector<CMonitor*>& monitors, bool primary) {
    const auto found = std::find_if(monitors.begin(), monitors.end(), [&](const CMonitor* monitor) {
        return monitor->IsPrimaryMonitor() == primary;
    });
    return found == monitors.end() ? nullptr : *found;
}

// A context over packed rows of the monitor's own depth, of the image's kind of pixel.
ContextRef thumbnailContext(const CMonitor& monitor, CGImageRef image, int width, int height,
                            void* buffer) {
    const size_t bitsPerComponent = CGImageGetBitsPerComponent(image);
    const uint32_t bytesPerRow = (monitor.GetBitsPerPixel() >> 3) * static_cast<uint32_t>(width);
    const CGColorSpaceRef colorSpace = CGImageGetColorSpace(image);
    const uint32_t bitmapInfo =
        static_cast<uint32_t>(CGImageGetAlphaInfo(image)) | kCGBitmapByteOrder32Little;
    return ContextRef(CGBitmapContextCreate(buffer, static_cast<size_t>(width),
                                            static_cast<size_t>(height), bitsPerComponent,
                                            bytesPerRow, colorSpace, bitmapInfo));
}

using KeptCaptures = std::multimap<unsigned int, CCaptureBase*>;

// Captures, by their index, whose frame a reader kept locked through the stop. Never destroyed, as
// the reader may outlive everything, and there without memory of its own, as an unlock needs it.
KeptCaptures& capturesKeptForReaders() {
    alignas(KeptCaptures) static unsigned char place[sizeof(KeptCaptures)];
    static auto& captures = *new (place) KeptCaptures;
    return captures;
}

// The reader goes on reading also where its unlock will not find the capture.
void keepForReader(unsigned int dwCaptureIndex, CCaptureBase* capture) {
    TRACE_ERROR(
        "CMonitorManager::DeleteCaptureInstance... the frame is locked, kept for its reader!");
    try {
        capturesKeptForReaders().emplace(dwCaptureIndex, capture);
    } catch (...) {
        TRACE_ERROR("CMonitorManager::DeleteCaptureInstance... memory is short, kept for good!");
    }
}

void deleteCapture(unsigned int dwCaptureIndex, CCaptureBase* capture) {
    if (capture != nullptr && !CCaptureBase::Delete(capture)) {
        keepForReader(dwCaptureIndex, capture);
    }
}

// The backend answers to 0 (the platform's own) and to 4.
bool isSupported(CAP_METHOD method) {
    return (static_cast<int>(method) | CAP_METHOD_COREGRAPHICS) == CAP_METHOD_COREGRAPHICS;
}

}  // namespace

CMonitorManager* CMonitorManager::m_monitorMgrInstance = nullptr;

CMonitorManager* CMonitorManager::GetInstance() {
    if (m_monitorMgrInstance == nullptr) {
        m_monitorMgrInstance = new CMonitorManager;
    }
    return m_monitorMgrInstance;
}

void CMonitorManager::DeleteInstance() {
    delete m_monitorMgrInstance;
    m_monitorMgrInstance = nullptr;
}

CMonitorManager::CMonitorManager() : m_dwNextCaptureIndex(0), m_bMonitorInfoChanged(false) {
    UpdateMonitors();
    m_csMonitorMgr.init();
}

CMonitorManager::~CMonitorManager() {
    try {
        FreeMonitors();
        ClearAllCaptureMgr();
        m_csMonitorMgr.cleanup();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a failing step ends the others, quietly
    }
}

void CMonitorManager::UpdateMonitors() {
    TRACE_STEP("CPMO", StepPhrase::UpdateMonitorBegin, "[NULL]");
    TRACE_INFO("CMonitorManager::UpdateMonitors... Begin");
    FreeMonitors();

    std::vector<CGDirectDisplayID> displays;
    if (!listActiveDisplays(displays)) {
        return;
    }
    // All or, when memory runs out, none.
    std::vector<std::unique_ptr<CMonitor>> monitors(displays.size());
    m_vec_monitor.reserve(displays.size());
    for (unsigned int i = 0; i < displays.size(); ++i) {
        monitors[i] = std::make_unique<CMonitor>(displays[i], i);
        TRACE_INFO("CMonitorManager::UpdateMonitors DisplayID: ", displays[i]);
    }
    for (std::unique_ptr<CMonitor>& monitor : monitors) {
        m_vec_monitor.push_back(monitor.release());
    }
    for (const CMonitor* monitor : m_vec_monitor) {
        traceMonitor(*monitor);
    }
    TRACE_STEP("CPMO", StepPhrase::UpdateMonitorEnd, "[NULL]");
    TRACE_INFO("CMonitorManager::UpdateMonitors... End");
}

void CMonitorManager::UpdateMonitor() {
    UpdateMonitors();
}

void CMonitorManager::OnMonitorInfoChange() {
    m_bMonitorInfoChanged = true;
    UpdateMonitors();
}

void CMonitorManager::FreeMonitors() {
    while (!m_vec_monitor.empty()) {
        delete m_vec_monitor.front();
        m_vec_monitor.erase(m_vec_monitor.begin());
    }
}

size_t CMonitorManager::GetCount() const {
    return m_vec_monitor.size();
}

CMonitor* CMonitorManager::GetMonitor(unsigned int dwIndex) {
    TRACE_INFO("CMonitorManager::GetMonitor..m_vec_monitor.size() = ", m_vec_monitor.size());
    return dwIndex < m_vec_monitor.size() ? m_vec_monitor[dwIndex] : nullptr;
}

CMonitor* CMonitorManager::GetPrimaryMonitor() {
    return firstMonitor(m_vec_monitor, true);
}

CMonitor* CMonitorManager::GetSecondaryMonitor() {
    return firstMonitor(m_vec_monitor, false);
}

// The index of a virtual monitor is 0 wherever it stands in the list.
void CMonitorManager::CreateMonitor(int nWidth, int nHeight, unsigned int nBitCount) {
    constexpr unsigned int kVirtualIndex = 0;
    TRACE_INFO("CMonitorManager::CreateMonitor,nWidth = ", nWidth, ",nHeight =", nHeight,
               ",nBitCount = ", nBitCount, ", nIndex = ", kVirtualIndex);
    auto monitor = std::make_unique<CMonitor>(kVirtualIndex, nWidth, nHeight, nBitCount);
    m_vec_monitor.push_back(monitor.get());
    monitor.release();  // NOLINT(bugprone-unused-return-value): the list has it now
}

void CMonitorManager::DestroyMonitor() {
    TRACE_INFO("CMonitorManager::DestroyMonitor");
}

bool CMonitorManager::GetScreenThumbnail(unsigned int dwMonitorIndex, int dwWidth, int dwHeight,
                                         void* pBuffer) {
    const CMonitor* const monitor = GetMonitor(dwMonitorIndex);
    if (monitor == nullptr) {
        TRACE_ERROR("CMonitorManager::GetScreenThumbnail... invalid param dwMonitorIndex!");
        return false;
    }
    if (dwWidth == 0 || dwHeight == 0) {
        TRACE_ERROR("CMonitorManager::GetScreenThumbnail... invalid param dwWidth or dwHeight!");
        return false;
    }
    if (pBuffer == nullptr) {
        TRACE_ERROR("CMonitorManager::GetScreenThumbnail... pBuffer is NULL!");
        return false;
    }
    ImageRef image(display_images::ofDisplay(monitor->GetDisplayID()));
    if (image == nullptr) {
        return false;  // without a trace by rule
    }
    const ContextRef context = thumbnailContext(*monitor, image.get(), dwWidth, dwHeight, pBuffer);
    if (context == nullptr) {
        image.reset();
        TRACE_ERROR("CMonitorManager::GetScreenThumbnail... CGBitmapContextCreate failed!");
        return false;
    }
    CGContextDrawImage(context.get(), CGRectMake(0, 0, dwWidth, dwHeight), image.get());
    return true;
}

unsigned int CMonitorManager::GenerateCaptureIndex() {
    auto pCapMgr = std::make_unique<StructCaptureMgr>();
    excluded_windows::prepare(pCapMgr->vecPresetExcludeWnd);
    pCapMgr->pCapture = nullptr;
    pCapMgr->dwMaxFrameRate = 0;
    CHECKED_CALL(memset_s(&(pCapMgr->stFrameSize), sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE)));
    StructCaptureMgr*& place = m_mapCaptureMgr[m_dwNextCaptureIndex];
    place = pCapMgr.release();
    return m_dwNextCaptureIndex++;
}

bool CMonitorManager::AddCaptureInstance(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                                         CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                                         unsigned int dwCustomVersion, CAP_MODE eCapMode) {
    TRACE_INFO("CMonitorManager::AddCaptureInstance dwCaptureIndex:", dwCaptureIndex,
               ", dwMonitorIndex:", dwMonitorIndex, ", nCaptureType:", nCaptureType,
               ", nShareType:", nShareType, "dwCustomVersion:", dwCustomVersion,
               ", eCapMode:", eCapMode);
    const CMonitor* const monitor = CurrentMonitor(dwMonitorIndex);
    if (monitor == nullptr) {
        return false;
    }
    StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CMonitorManager::AddCaptureInstance()... GetCaptureMgr failed!");
        return false;
    }
    if (CCaptureBase* const capture = record->pCapture; capture != nullptr) {
        if (capture->GetMonitorIndex() == dwMonitorIndex &&
            capture->GetCapMethod() == nCaptureType && capture->GetCapType() == nShareType &&
            capture->GetCustomVersion() == dwCustomVersion) {
            TRACE_ERROR("CMonitorManager::AddCaptureInstance()... Capture is already existed!");
            return true;
        }
        capture->StopCapture();
        DeleteCaptureInstance(dwCaptureIndex);
    }
    if (!isSupported(nCaptureType)) {
        TRACE_ERROR("CMonitorManager::AddCaptureInstance()... Capture Type Error!");
        return false;
    }
    record->pCapture = new CCaptureMac(monitor, CAP_METHOD_COREGRAPHICS, nShareType);
    record->pCapture->SetCustomVersion(dwCustomVersion);
    record->pCapture->SetCaptureMode(eCapMode);
    return true;
}

// The monitor at the index; when its display has changed size since, as a fresh enumeration finds
// it. Null, after a trace, when there is none.
CMonitor* CMonitorManager::CurrentMonitor(unsigned int dwMonitorIndex) {
    CMonitor* const monitor = GetMonitor(dwMonitorIndex);
    if (monitor == nullptr) {
        TRACE_ERROR("CMonitorManager::AddCaptureInstance()... Invalid monitor index!");
        return nullptr;
    }
    if (geometryIsCurrent(*monitor)) {
        return monitor;
    }
    UpdateMonitors();
    CMonitor* const updated = GetMonitor(dwMonitorIndex);
    if (updated == nullptr) {
        TRACE_ERROR(
            "CMonitorManager::AddCaptureInstance()... UpdateMonitors... Invalid monitor index!");
    }
    return updated;
}

StructCaptureMgr* CMonitorManager::GetCaptureMgr(unsigned int dwCaptureIndex) {
    const auto entry = m_mapCaptureMgr.find(dwCaptureIndex);
    if (entry == m_mapCaptureMgr.end()) {
        TRACE_ERROR("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");
        return nullptr;
    }
    return entry->second;
}

CCaptureBase* CMonitorManager::GetCaptureInstance(unsigned int dwCaptureIndex) {
    const auto entry = m_mapCaptureMgr.find(dwCaptureIndex);
    if (entry == m_mapCaptureMgr.end()) {
        TRACE_ERROR("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");
        return nullptr;
    }
    return entry->second->pCapture;
}

void CMonitorManager::DeleteCaptureInstance(unsigned int dwCaptureIndex) {
    StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        return;
    }
    deleteCapture(dwCaptureIndex, std::exchange(record->pCapture, nullptr));
}

void CMonitorManager::UnlockKeptCapture(unsigned int dwCaptureIndex) {
    auto& kept = capturesKeptForReaders();
    const auto [first, last] = kept.equal_range(dwCaptureIndex);
    const auto entry = std::find_if(
        first, last, [](const auto& candidate) { return candidate.second->IsReadHere(); });
    if (entry == last) {
        return;
    }
    entry->second->UnlockBuffer();
    if (!entry->second->IsRead()) {
        entry->second->UnInit();
        CCaptureBase::Delete(entry->second);
        kept.erase(entry);
    }
}

unsigned int CMonitorManager::GetCaptureIndexFromInstance(const CCaptureBase* pCapture) {
    if (pCapture != nullptr) {
        for (const auto& [index, record] : m_mapCaptureMgr) {
            if (record->pCapture == pCapture) {
                return index;
            }
        }
    }
    TRACE_ERROR("CMonitorManager::GetCaptureIndexFromInstance... Get capture index failed!");
    return kNoCaptureIndex;
}

void CMonitorManager::ClearAllCaptureMgr() {
    for (const auto& [index, record] : m_mapCaptureMgr) {
        deleteCapture(index, record->pCapture);
        delete record;
    }
    m_mapCaptureMgr.clear();
}

bool CMonitorManager::IsPresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd) {
    const StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CMonitorManager::IsPresetExcludeWnd... param dwCaptureIndex invalid");
        return false;
    }
    return excluded_windows::contains(record->vecPresetExcludeWnd, hWnd);
}

void CMonitorManager::PushPresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd) {
    StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CMonitorManager::PushPresetExcludeWnd... param dwCaptureIndex invalid");
        return;
    }
    if (!excluded_windows::contains(record->vecPresetExcludeWnd, hWnd)) {
        excluded_windows::add(record->vecPresetExcludeWnd, hWnd);
    }
}

void CMonitorManager::ErasePresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd) {
    StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CMonitorManager::ErasePresetExcludeWnd... param dwCaptureIndex invalid");
        return;
    }
    std::vector<const void*>& windows = record->vecPresetExcludeWnd;
    const auto window = std::find(windows.begin(), windows.end(), hWnd);
    if (window != windows.end()) {
        windows.erase(window);
    }
}

void CMonitorManager::ClearPresetExcludeWnds(unsigned int dwCaptureIndex) {
    StructCaptureMgr* const record = GetCaptureMgr(dwCaptureIndex);
    if (record == nullptr) {
        TRACE_ERROR("CMonitorManager::ClearPresetExcludeWnds... param dwCaptureIndex invalid");
        return;
    }
    record->vecPresetExcludeWnd.clear();
}
