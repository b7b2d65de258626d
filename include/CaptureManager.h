/** @file
 * Screen-capture manager: the exported C interface of libqor_conf_capturemanager.
 *
 * Purpose
 *   List the displays, hand out capture indexes, run one capture thread per started capture, and
 *   hand the newest frame of a capture to the host in a locked buffer.
 *
 * Life of a capture
 *   CapMgr_GenerateCaptureIndex, optional settings (rate, size, windows to leave out),
 *   CapMgr_StartCapture, then any number of CapMgr_LockScreenBuffer / read /
 *   CapMgr_UnlockScreenBuffer, CapMgr_StopCapture. The index stays valid and may be started again.
 *   There is no initialisation: the first call that needs the displays enumerates them.
 *
 * Threads
 *   The interface takes no lock of its own: call it from one thread at a time. A frame is locked
 *   and unlocked by the same thread.
 *
 * Errors
 *   Failures are reported by the result alone (false, 0, an all-zero record); each is also traced
 *   through the trace facility (vqutilc.h). Nothing is thrown, nothing exits. Where memory is short
 *   a call fails like that; the list of displays may be empty then, until CapMgr_UpdateMonitor.
 *
 * Usable from C11 and C++17 on.
 */
#ifndef QOR_CONF_CAPTUREMANAGER_H
#define QOR_CONF_CAPTUREMANAGER_H

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

/** Marks everything that the library exports. */
#define CAPMGR_API __attribute__((visibility("default")))
/** Keeps a member of an exported class out. */
#define CAPMGR_LOCAL __attribute__((visibility("hidden")))

/** Bytes of a display name in a CAP_MONITOR_INFO, the terminating NUL included. */
#define MAX_MONITOR_NAME_LEN 64

/**
 * Makes an enumeration 32 bits wide, as all are that cross the interface. C++ gets a fixed
 * underlying type so that a value outside the list, which the interface answers with a failure, is
 * well defined.
 */
#ifdef __cplusplus
#define CAPMGR_INT32_ENUM : int
#else
#define CAPMGR_INT32_ENUM
#endif

/** How a capture runs. */
typedef enum CAP_MODE CAPMGR_INT32_ENUM {
    SERIAL_CAPTURE_MODE = 0,   /**< on the host's thread; parallel where that is unsupported */
    PARALLEL_CAPTURE_MODE = 1, /**< the capture thread captures */
} CAP_MODE;

/** Which backend captures. Every other value makes a start fail. */
typedef enum CAP_METHOD CAPMGR_INT32_ENUM {
    CAP_METHOD_DEFAULT = 0,      /**< the platform's own; resolves to CAP_METHOD_COREGRAPHICS */
    CAP_METHOD_COREGRAPHICS = 4, /**< CoreGraphics, on Linux through libqor_coregraphics */
} CAP_METHOD;

/** What a capture shows. Any other value starts but captures nothing. */
typedef enum CAP_TYPE CAPMGR_INT32_ENUM {
    CAP_TYPE_DESKTOP = 0,    /**< the whole monitor less the excluded windows */
    CAP_TYPE_APP_WINDOW = 1, /**< the one shared application window */
} CAP_TYPE;

/** What CapMgr_SetExcludeWnd does with the list of excluded windows. Other values do nothing. */
typedef enum tagCapExcWndActType CAPMGR_INT32_ENUM {
    CAP_EXC_WND_CLEAR = 0,  /**< remove every window */
    CAP_EXC_WND_ADD = 1,    /**< add the window */
    CAP_EXC_WND_DELETE = 2, /**< remove the window */
} tagCapExcWndActType;

/** What CapMgr_SetSharedAppWnd does. Any value but CAP_APP_WND_SET clears the shared window. */
typedef enum tagCapAppActType CAPMGR_INT32_ENUM {
    CAP_APP_WND_CLEAR = 0, /**< share no window */
    CAP_APP_WND_SET = 1,   /**< share this window */
} tagCapAppActType;

/** A frame size in pixels. Valid only when both fields are non-zero; all zero means "not set". */
typedef struct tag_Capture_SIZE {
    uint32_t dwWidth;  /**< pixels */
    uint32_t dwHeight; /**< pixels */
} CAP_SIZE;

/**
 * A rectangle in global display coordinates: origin at the upper left of the main display, y down.
 */
typedef struct tagCaptureRect {
    int32_t left;   /**< first column */
    int32_t top;    /**< first row */
    int32_t right;  /**< one past the last column */
    int32_t bottom; /**< one past the last row */
} tagCaptureRect;

/** One display. */
typedef struct tagCapMonitorInfo {
    uint32_t dwIndex;                    /**< the monitor index that was asked for */
    char cstrName[MAX_MONITOR_NAME_LEN]; /**< product name, UTF-8, cut to 63 bytes and a NUL */
    tagCaptureRect rcMonitor;            /**< its place and size; see CMonitor::GetMonitorRect */
    uint32_t dwFrequency;                /**< refresh rate, whole Hz; 0 when unknown */
    uint32_t dwBitsPerPixel;             /**< 32, 16 or 8; 0 when unknown */
    bool bPrimary;                       /**< the main display */
} CAP_MONITOR_INFO;

/**
 * One captured frame. Rows run top-down, dwWidth * 4 bytes each without gaps; 4 bytes a pixel in
 * the display's own order: blue, green, red, and a fourth that carries no picture. Without a frame
 * pData is null, and nothing else in the record means anything.
 */
typedef struct tagCapDesktopData {
    uint8_t* pData;        /**< owned by the library; readable until the frame is unlocked */
    uint64_t reserved1[4]; /**< zero */
    uint32_t dwDataLen;    /**< dwWidth * dwHeight * 4 */
    uint32_t dwWidth;      /**< pixels */
    uint32_t dwHeight;     /**< pixels */
    uint32_t reserved2;    /**< zero */
} CAP_DESKTOP_DATA;

/** Screen rectangle of CapMgr_MonitorScreenInfo; <CoreGraphics/CGGeometry.h> defines it. */
struct CGRect;

#ifdef __cplusplus
extern "C" {
#endif

/** @name Displays
 * A monitor index is a position in the list that the last enumeration made: 0 is the main display.
 * @{ */

/** Number of displays, those made by CapMgr_GenerateMonitor included. */
CAPMGR_API unsigned int CapMgr_GetMonitorCount(void);

/**
 * Describes the display at dwIndex in *pMonitorInfo (owned by the host, always cleared first).
 * False for a null pointer or an index at or past the count; the record is then all zero.
 */
CAPMGR_API bool CapMgr_GetMonitorInfo(unsigned int dwIndex, CAP_MONITOR_INFO* pMonitorInfo);

/** Index of the main display; 0 when there is none. */
CAPMGR_API unsigned int CapMgr_GetPrimaryMonitorIndex(void);

/** Index of the first display that is not the main one; 0 when there is none. */
CAPMGR_API unsigned int CapMgr_GetSecondaryMonitorIndex(void);

/**
 * Appends a virtual monitor of the given size (pixels) and depth (bits per pixel) to the list. It
 * can be listed, not captured, and goes away at the next enumeration, which a start may bring
 * about.
 */
CAPMGR_API void CapMgr_GenerateMonitor(int nWidth, int nHeight, unsigned int nBitCount);

/** Removes nothing: it is traced, and that is all. */
CAPMGR_API void CapMgr_DestroyMonitor(void);

/** Enumerates the displays anew. To be called when they changed: the library does not watch them.
 */
CAPMGR_API void CapMgr_UpdateMonitor(void);

/** As CapMgr_UpdateMonitor. */
CAPMGR_API void CapMgr_OnMonitorInfoChange(void);

/**
 * Screen geometry of the display at dwMonitorIndex, of the main screen when there is no such
 * display. *pScale receives pixels per point; *pFrame the screen's frame in points, origin at the
 * lower left of the main screen, y up. Either may be null.
 */
CAPMGR_API void CapMgr_MonitorScreenInfo(unsigned int dwMonitorIndex, double* pScale,
                                         struct CGRect* pFrame);

/** @} */

/** @name Capture control
 * @{ */

/** A new capture index: 0, 1, 2 and so on, never reused. 0xFFFFFFFF, which is none, where memory
 * is short. */
CAPMGR_API unsigned int CapMgr_GenerateCaptureIndex(void);

/**
 * Starts capturing the display at dwMonitorIndex under dwCaptureIndex, with the settings stored
 * before, on a thread of its own, unpaused. 0 on success; non-zero for an unknown index, an unknown
 * display, an unsupported capture type, or when no thread could be made.
 *
 * What already runs is kept, and resumed, when the display, nShareType and dwCustomVersion are the
 * same and nCaptureType is CAP_METHOD_COREGRAPHICS. Any other start, and so each one with
 * CAP_METHOD_DEFAULT, stops it and begins anew with the stored settings: frame pointers are invalid
 * then.
 *
 * dwCustomVersion is the host's own; a capture in SERIAL_CAPTURE_MODE runs in parallel mode where
 * that is not supported, as it is nowhere yet.
 */
CAPMGR_API uint32_t CapMgr_StartCapture(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                                        CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                                        unsigned int dwCustomVersion, CAP_MODE eCapMode);

/**
 * Ends the capture, waiting up to 3000 ms for its thread. FlushWnd 1 also forgets the windows that
 * were excluded before the start. False when nothing was started. Every frame pointer of this
 * capture is invalid afterwards.
 */
CAPMGR_API bool CapMgr_StopCapture(unsigned int dwCaptureIndex, int FlushWnd);

/**
 * Stops taking images; the last frame stays and can be read. True when the capture ran; false when
 * it was paused already or nothing was started.
 */
CAPMGR_API bool CapMgr_PauseCapture(unsigned int dwCaptureIndex);

/** Goes on within half a second. True when the capture was paused. */
CAPMGR_API bool CapMgr_ResumeCapture(unsigned int dwCaptureIndex);

/** True when the capture was started and runs in SERIAL_CAPTURE_MODE. */
CAPMGR_API bool CapMgr_IsSerialCapMode(unsigned int dwCaptureIndex);

/**
 * Size in pixels at which frames are delivered, from 1 x 1 up to the display's own; the aspect
 * ratio is the host's affair. It is stored for later starts, also when refused for being too large;
 * while started it takes effect at once, with a black frame until the next one, and waits for a
 * reader. False for an unknown index, a zero field, or, while started, a size larger than the
 * display.
 */
CAPMGR_API bool CapMgr_SetCaptureFrameSize(unsigned int dwCaptureIndex, CAP_SIZE stSize);

/** @} */

/** @name Frames
 * @{ */

/** Captures on the calling thread, where serial mode is supported; an all-zero record elsewhere. */
CAPMGR_API CAP_DESKTOP_DATA CapMgr_CaptureScreenBuffer(unsigned int dwCaptureIndex);

/**
 * The newest frame, held still until CapMgr_UnlockScreenBuffer, which must follow every call that
 * returned a frame (pData non-null) on the same thread. pData is null, with nothing locked, while
 * there is no frame yet, while stopping, or when nothing was started. Waits while a frame is
 * written.
 */
CAPMGR_API CAP_DESKTOP_DATA CapMgr_LockScreenBuffer(unsigned int dwCaptureIndex);

/**
 * Releases the frame. 3 while capturing, 0 while stopping or when nothing was started. A frame
 * stays readable until then also when another thread stops the capture meanwhile.
 */
CAPMGR_API unsigned int CapMgr_UnlockScreenBuffer(unsigned int dwCaptureIndex);

/** Copies a frame of the host's own (nLength bytes, at most the buffer's) into the frame buffer. */
CAPMGR_API void CapMgr_UpdateScreenBuffer(unsigned int dwCaptureIndex, const unsigned char* pData,
                                          unsigned int nLength);

/** @} */

/** @name Settings
 * Each works before a start (stored, applied by every later one) and while started (for this
 * capture only), unless it says otherwise.
 * @{ */

/**
 * Most frames a second; above 30 counts as 30. Lowers the current rate where that is higher, never
 * raises it. False for an unknown index or a rate of 0.
 */
CAPMGR_API bool CapMgr_SetMaxFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate);

/**
 * Frames a second wanted now, at most the maximum. Before a start it is stored, unclamped, as the
 * maximum. False for an unknown index or a rate of 0.
 */
CAPMGR_API bool CapMgr_UpdateFrameRate(unsigned int dwCaptureIndex, unsigned int nFrameRate);

/** The maximum, frames a second; before a start the stored one, 0 when none is. 0 for an unknown
 * index. */
CAPMGR_API int CapMgr_GetMaxFrameRate(unsigned int dwCaptureIndex);

/** The rate now, frames a second; before a start as CapMgr_GetMaxFrameRate. 0 for an unknown index.
 */
CAPMGR_API int CapMgr_GetCurFrameRate(unsigned int dwCaptureIndex);

/** Always 0. */
CAPMGR_API int CapMgr_GetCapFailResult(unsigned int dwCaptureIndex);

/**
 * Edits the windows left out of a desktop capture. hWnd holds a window number, not a pointer. Where
 * there is no memory for a window to add, frames are black from then on, or from the start on,
 * until the list is cleared.
 */
CAPMGR_API void CapMgr_SetExcludeWnd(unsigned int dwCaptureIndex, const void* hWnd,
                                     tagCapExcWndActType eAction);

/** Sets or clears the window of an application capture; only while started. */
CAPMGR_API void CapMgr_SetSharedAppWnd(unsigned int dwCaptureIndex, unsigned int nAppWndID,
                                       tagCapAppActType eAction);

/** Stores the background colour of an application share; only while started. Not drawn. */
CAPMGR_API void CapMgr_SetAppShareBgColor(unsigned int dwCaptureIndex, unsigned int nRgnType,
                                          unsigned int nBrushType, unsigned int nColor);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
