/* The monitors, and how they are spoken of. */
#ifndef CAPMGR_MONITORS_H
#define CAPMGR_MONITORS_H

#include <string>
#include <vector>

#include "CaptureManager.h"

/* Every monitor, in index order. Throws Failure when there is none to be had. */
std::vector<CAP_MONITOR_INFO> listMonitors();

/* Every monitor as it is now. None for a moment while a display is being set anew, and when the
 * display server is gone. */
std::vector<CAP_MONITOR_INFO> presentMonitors();

/* The monitor's own size in pixels. */
CAP_SIZE monitorSize(const CAP_MONITOR_INFO& monitor);

/* Whether two are of the same size at the same place. */
bool hasSameArea(const CAP_MONITOR_INFO& one, const CAP_MONITOR_INFO& other);

/* "1920x1080" */
std::string sizeText(CAP_SIZE size);

/* The product name, or a stand-in where the display has none. */
std::string monitorName(const CAP_MONITOR_INFO& monitor);

#endif
