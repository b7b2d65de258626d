/** @class CMonitor
 * One display as it was when it was enumerated, real or virtual.
 *
 * Immutable after construction, so any thread may read it. The getters that ask for the display's
 * mode read the current one on every call. CMonitorManager makes and deletes the objects: a rebuild
 * of its list invalidates every pointer.
 */
#ifndef QOR_CONF_MONITOR_H
#define QOR_CONF_MONITOR_H

#include <cstdint>
#include <string>

#include "CaptureManager.h"

class CAPMGR_API CMonitor {
  public:
    /** A real display: CoreGraphics identifier and position in the manager's list. */
    CMonitor(uint32_t displayID, uint32_t index);

    /** A virtual monitor at (0, 0), width x height pixels of bitCount bits, with no display. */
    CMonitor(uint32_t index, int32_t width, int32_t height, uint32_t bitCount);

    virtual ~CMonitor();
    CMonitor(const CMonitor&) = delete;
    CMonitor& operator=(const CMonitor&) = delete;

    /**
     * The rectangle in global display coordinates. A display whose mode has other pixel than point
     * dimensions (a scaled display) has its pixel size, and the origin (0, 0) wherever it lies.
     */
    void GetMonitorRect(tagCaptureRect& rect) const;

    /** Width of the current mode in points, despite the name; 0 without a mode. */
    uint32_t GetPixelWidth() const;
    /** Height of the current mode in points, despite the name; 0 without a mode. */
    uint32_t GetPixelHeight() const;

    /** 32, 16 or 8 by the current mode's pixel encoding; 0 for any other and without a mode. */
    uint32_t GetBitsPerPixel() const;

    /** Refresh rate of the current mode in whole Hz, truncated; 0 when unknown. */
    uint32_t GetDisplayFrequency() const;

    /** Whether it was the main display when it was enumerated. */
    bool IsPrimaryMonitor() const;

    /** CoreGraphics identifier; 0 for a virtual monitor. */
    uint32_t GetDisplayID() const { return m_dwDisplayID; }

    /** The index given at construction; always 0 for a virtual monitor of the manager. */
    uint32_t GetIndex() const { return m_dwIndex; }

    /** Product name, UTF-8; empty when unknown. */
    const std::string& GetName() const { return m_strName; }

  private:
    uint32_t m_dwDisplayID;
    uint32_t m_dwIndex;
    std::string m_strName;
    tagCaptureRect m_rcMonitor;
    bool m_bPrimary;
    uint32_t m_nBitCount; /**< of a virtual monitor */
};

#endif
