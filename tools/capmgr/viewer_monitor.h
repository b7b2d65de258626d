/* The monitor that the viewer shows, as monitors come, go and change. */
#ifndef CAPMGR_VIEWER_MONITOR_H
#define CAPMGR_VIEWER_MONITOR_H

#include "CaptureManager.h"
#include "window_list.h"

/* Whether it is the same one as before, at its place. */
bool isSame(const CAP_MONITOR_INFO& one, const CAP_MONITOR_INFO& other);

/* Whether some of a window is on a monitor. */
bool isOn(const Window& window, const CAP_MONITOR_INFO& monitor);

/* The size of frames that is to one monitor's as `size` is to another one's. */
CAP_SIZE carriedOver(CAP_SIZE size, CAP_SIZE from, CAP_SIZE to);

#endif
