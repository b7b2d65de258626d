/* The monitors, and how they are spoken of. */
#ifndef CAPMGR_MONITORS_H
#define CAPMGR_MONITORS_H

#include <string>
#include <vector>

#include "CaptureManager.h"

/* Every monitor, in index order. Throws Failure when there is none to be had. */
std::vector<CAP_MONITOR_INFO> listMonitors();

/* The monitor's own size in pixels. */
CAP_SIZE monitorSize(const CAP_MONITOR_INFO& monitor);

/* "1920x1080" */
std::string sizeText(CAP_SIZE size);

/* The product name, or a stand-in where the display has none. */
std::string monitorName(const CAP_MONITOR_INFO& monitor);

#endif
