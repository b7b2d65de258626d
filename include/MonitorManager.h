/** @class CMonitorManager
 * The process-wide owner of the display list and of the capture registry.
 *
 * Life: created by the first GetInstance, which enumerates the displays, and deleted by
 * DeleteInstance together with every monitor, capture object and record; stop the captures first.
 *
 * Errors: GetInstance and what adds to a list throw std::bad_alloc. The list of monitors is empty
 * when it could not be rebuilt; everything else is then as before the call.
 *
 * Threads: takes no lock; call it from one host thread at a time. Capture threads never call it.
 */
#ifndef QOR_CONF_MONITORMANAGER_H
#define QOR_CONF_MONITORMANAGER_H

#include <cstddef>
#include <map>
#include <vector>

#include "CaptureManager.h"
#include "vqutilc.h"

class CCaptureBase;
class CMonitor;

/** One capture index: its capture object while started, and the settings that a start applies. */
struct StructCaptureMgr {
    CCaptureBase* pCapture;                       /**< owned; null while not started */
    unsigned int dwMaxFrameRate;                  /**< frames a second; 0 when none was set */
    std::vector<const void*> vecPresetExcludeWnd; /**< window numbers, in the order of adding */
    CAP_SIZE stFrameSize;                         /**< pixels; all zero when none was set */
};

class CAPMGR_API CMonitorManager {
  public:
    /** The one manager, made by the first call. */
    static CMonitorManager* GetInstance();
    /** Deletes it; the next GetInstance makes another, whose capture indexes begin at 0. */
    static void DeleteInstance();

    /** Enumerates the active displays anew; virtual monitors go away. Empty when that fails. */
    void UpdateMonitors();
    /** As UpdateMonitors. */
    void UpdateMonitor();
    /** As UpdateMonitors. */
    void OnMonitorInfoChange();
    /** Empties the list. */
    void FreeMonitors();

    /** Number of monitors in the list. */
    size_t GetCount() const;

    /** The monitor at a position. It is the manager's, until the list is next rebuilt; null when
     * there is none. */
    CMonitor* GetMonitor(unsigned int dwIndex);
    /** The main display, as GetMonitor. */
    CMonitor* GetPrimaryMonitor();
    /** The first monitor that is not the main display, as GetMonitor. */
    CMonitor* GetSecondaryMonitor();

    /** Appends a virtual monitor of own index 0. */
    void CreateMonitor(int nWidth, int nHeight, unsigned int nBitCount);
    /** Only traces: it removes nothing. */
    void DestroyMonitor();

    /**
     * Draws the whole display at dwMonitorIndex, scaled to dwWidth x dwHeight pixels whatever its
     * aspect ratio, into pBuffer: rows from the top down without gaps, GetBitsPerPixel() / 8 bytes
     * a pixel, in the byte order of captured frames. pBuffer is the caller's, as large as that
     * takes. False, with pBuffer untouched, for an unknown index, a size of 0, a null pBuffer, and
     * where the display cannot be read or drawn. Needs no capture, and disturbs none.
     */
    bool GetScreenThumbnail(unsigned int dwMonitorIndex, int dwWidth, int dwHeight, void* pBuffer);

    /** A record under a fresh index: 0, 1, 2 and so on. */
    unsigned int GenerateCaptureIndex();

    /**
     * Gives the index a capture object for the monitor at dwMonitorIndex, keeping the present one
     * when it was made from the same monitor, type, share type and version. Neither starts it nor
     * applies the stored settings. False for an unknown index, monitor or capture type.
     */
    bool AddCaptureInstance(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                            CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                            unsigned int dwCustomVersion, CAP_MODE eCapMode);

    /** The record, which is the manager's; null for an unknown index. */
    StructCaptureMgr* GetCaptureMgr(unsigned int dwCaptureIndex);
    /** The record's object, which is the manager's; null for an unknown index and without one. */
    CCaptureBase* GetCaptureInstance(unsigned int dwCaptureIndex);

    /** Deletes the object, which must have been stopped, and keeps the record. Where a thread keeps
     * its frame locked, the object goes when that thread unlocks it. */
    void DeleteCaptureInstance(unsigned int dwCaptureIndex);

    /** Unlocks a frame of the index that the calling thread has kept locked since before a stop. */
    CAPMGR_LOCAL static void UnlockKeptCapture(unsigned int dwCaptureIndex);

    /** The index whose record holds pCapture; 0xFFFFFFFF when none does. */
    unsigned int GetCaptureIndexFromInstance(const CCaptureBase* pCapture);

    /** Deletes every object, each of which must have been stopped, and every record. */
    void ClearAllCaptureMgr();

    /** Whether the next start leaves the window out. */
    bool IsPresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd);
    /** Has the next start leave the window out; without memory for it, show nothing. */
    void PushPresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd);
    /** Has the next start show the window again. */
    void ErasePresetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd);
    /** Has the next start leave nothing out. */
    void ClearPresetExcludeWnds(unsigned int dwCaptureIndex);

  private:
    CAPMGR_LOCAL CMonitorManager();
    CAPMGR_LOCAL ~CMonitorManager();
    CMonitorManager(const CMonitorManager&) = delete;
    CMonitorManager& operator=(const CMonitorManager&) = delete;

    CAPMGR_LOCAL CMonitor* CurrentMonitor(unsigned int dwMonitorIndex);

    CAPMGR_LOCAL static CMonitorManager* m_monitorMgrInstance;

    std::vector<CMonitor*> m_vec_monitor; /**< in the platform's order */
    std::map<unsigned int, StructCaptureMgr*> m_mapCaptureMgr;
    unsigned int m_dwNextCaptureIndex;
    VQ_Critical_Section m_csMonitorMgr; /**< never taken: the host serialises its calls */
    bool m_bMonitorInfoChanged;
};

#endif
