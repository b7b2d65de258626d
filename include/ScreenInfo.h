/** @file
 * ScreenInfo: where the screen that shows a display lies, and its pixels per point.
 */
#ifndef QOR_CONF_SCREENINFO_H
#define QOR_CONF_SCREENINFO_H

#include <CoreGraphics/CGGeometry.h>

#include "CaptureManager.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Fills *scaleFactor with the pixels per point, and *frame with the frame in points, origin at the
 * lower left of the main screen and y up, of the screen that shows displayID (a CoreGraphics
 * identifier); of the main screen when displayID is 0 or unknown, all zero when there is none.
 * Either pointer may be null. Keeps no state.
 */
CAPMGR_API void ScreenInfo(uint32_t displayID, double* scaleFactor, CGRect* frame);

#ifdef __cplusplus
}
#endif

#endif
