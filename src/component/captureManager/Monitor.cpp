#include "Monitor.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/graphics/IOGraphicsLib.h>

#include "PlatformRef.h"
#include "Trace.h"
#include "kxcommon64.h"

namespace {

constexpr char kSourcePath[] = "src/component/captureManager/Monitor";

void KeyArrayCallback(const void* key, const void* /*value*/, void* context) {
    CFArrayAppendValue(static_cast<CFMutableArrayRef>(context), key);
}

// The name in the locale that the user prefers most, out of a dictionary from locales to names.
std::string preferredName(CFDictionaryRef names) {
    CFRef<CFMutableArrayRef> locales(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    if (locales == nullptr) {
        return {};
    }
    CFDictionaryApplyFunction(names, KeyArrayCallback, locales.get());
    const CFRef<CFArrayRef> preferred(CFBundleCopyPreferredLocalizationsFromArray(locales.get()));
    locales.reset();
    if (preferred == nullptr || CFArrayGetCount(preferred.get()) == 0) {
        return {};
    }
    const auto name = static_cast<CFStringRef>(
        CFDictionaryGetValue(names, CFArrayGetValueAtIndex(preferred.get(), 0)));
    if (name == nullptr) {
        return {};
    }
    char displayName[MAX_MONITOR_NAME_LEN] = {};
    CHECKED_CALL(memset_s(displayName, MAX_MONITOR_NAME_LEN, 0, MAX_MONITOR_NAME_LEN));
    // One byte less than there is, and the result unread: a name that does not fit stays empty.
    CFStringGetCString(name, displayName, MAX_MONITOR_NAME_LEN - 1, kCFStringEncodingUTF8);
    return displayName;
}

std::string productName(CGDirectDisplayID displayID) {
    const CFRef<CFDictionaryRef> information(IODisplayCreateInfoDictionary(
        CGDisplayIOServicePort(displayID), kIODisplayOnlyPreferredName));
    if (information == nullptr) {
        return {};
    }
    const auto names = static_cast<CFDictionaryRef>(
        CFDictionaryGetValue(information.get(), CFSTR("DisplayProductName")));
    return names == nullptr ? std::string() : preferredName(names);
}

// Left and top are truncated before they are added to the size.
tagCaptureRect truncatedRect(const CGRect& bounds) {
    const auto left = static_cast<int32_t>(bounds.origin.x);
    const auto top = static_cast<int32_t>(bounds.origin.y);
    return {left, top, static_cast<int32_t>(bounds.size.width + left),
            static_cast<int32_t>(bounds.size.height + top)};
}

CAP_SIZE pixelSize(CGDirectDisplayID displayID) {
    const DisplayModeRef mode(CGDisplayCopyDisplayMode(displayID));
    if (mode == nullptr) {
        return {0, 0};
    }
    return {static_cast<uint32_t>(CGDisplayModeGetPixelWidth(mode.get())),
            static_cast<uint32_t>(CGDisplayModeGetPixelHeight(mode.get()))};
}

bool encodingIs(CFStringRef encoding, CFStringRef wanted) {
    return CFStringCompare(encoding, wanted, kCFCompareCaseInsensitive) == kCFCompareEqualTo;
}

}  // namespace

CMonitor::CMonitor(uint32_t displayID, uint32_t index)
    : m_dwDisplayID(displayID),
      m_dwIndex(index),
      m_strName(productName(displayID)),
      m_rcMonitor{},
      m_bPrimary(false),
      m_nBitCount(0) {
    const CGRect bounds = CGDisplayBounds(displayID);
    m_rcMonitor = truncatedRect(bounds);
    const CAP_SIZE pixels = pixelSize(displayID);
    TRACE_INFO("CMonitor::CMonitor()... index=", index, ", displayID=", displayID, ", Monitor=[",
               bounds.origin.x, ":", bounds.origin.y, ",", bounds.size.width, ",",
               bounds.size.height, "], Pixel=[", pixels.dwWidth, ",", pixels.dwHeight, "]");

    // A scaled display is captured in pixels, and its rectangle starts at the origin by rule.
    const auto width = static_cast<int32_t>(pixels.dwWidth);
    const auto height = static_cast<int32_t>(pixels.dwHeight);
    if (width != m_rcMonitor.right - m_rcMonitor.left ||
        height != m_rcMonitor.bottom - m_rcMonitor.top) {
        m_rcMonitor = {0, 0, width, height};
    }
    m_bPrimary = CGDisplayIsMain(displayID) != 0;
}

CMonitor::CMonitor(uint32_t index, int32_t width, int32_t height, uint32_t bitCount)
    : m_dwDisplayID(0),
      m_dwIndex(index),
      m_rcMonitor{0, 0, width, height},
      m_bPrimary(false),
      m_nBitCount(bitCount) {
    TRACE_INFO("CMonitor::CMonitor m_dwIndex = ", m_dwIndex,
               ", m_rcMonitor.right = ", m_rcMonitor.right,
               ", m_rcMonitor.bottom = ", m_rcMonitor.bottom, ", m_nBitCount = ", m_nBitCount);
}

CMonitor::~CMonitor() {
    m_dwDisplayID = 0;
}

void CMonitor::GetMonitorRect(tagCaptureRect& rect) const {
    rect = m_rcMonitor;
    TRACE_INFO(" CMonitor::GetMonitorRect rect.left = ", rect.left, ", rect.top = ", rect.top,
               ", rect.right = ", rect.right, ", rect.bottom = ", rect.bottom);
}

uint32_t CMonitor::GetPixelWidth() const {
    const DisplayModeRef mode(CGDisplayCopyDisplayMode(m_dwDisplayID));
    return mode == nullptr ? 0 : static_cast<uint32_t>(CGDisplayModeGetWidth(mode.get()));
}

uint32_t CMonitor::GetPixelHeight() const {
    const DisplayModeRef mode(CGDisplayCopyDisplayMode(m_dwDisplayID));
    return mode == nullptr ? 0 : static_cast<uint32_t>(CGDisplayModeGetHeight(mode.get()));
}

uint32_t CMonitor::GetBitsPerPixel() const {
    DisplayModeRef mode(CGDisplayCopyDisplayMode(m_dwDisplayID));
    if (mode == nullptr) {
        return 0;
    }
    const CFRef<CFStringRef> encoding(CGDisplayModeCopyPixelEncoding(mode.get()));
    mode.reset();
    if (encoding == nullptr) {
        return 0;
    }
    if (encodingIs(encoding.get(), CFSTR("--------RRRRRRRRGGGGGGGGBBBBBBBB"))) {
        return 32;
    }
    if (encodingIs(encoding.get(), CFSTR("-RRRRRGGGGGBBBBB"))) {
        return 16;
    }
    if (encodingIs(encoding.get(), CFSTR("PPPPPPPP"))) {
        return 8;
    }
    TRACE_ERROR("CMonitor::GetBitsPerPixel()... CGDisplayModeCopyPixelEncoding failed!");
    return 0;
}

uint32_t CMonitor::GetDisplayFrequency() const {
    const DisplayModeRef mode(CGDisplayCopyDisplayMode(m_dwDisplayID));
    return mode == nullptr ? 0 : static_cast<uint32_t>(CGDisplayModeGetRefreshRate(mode.get()));
}

bool CMonitor::IsPrimaryMonitor() const {
    return m_bPrimary;
}
