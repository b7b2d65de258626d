/* Which monitor a command captures, and at which size. */
#ifndef CAPMGR_MONITOR_CHOICE_H
#define CAPMGR_MONITOR_CHOICE_H

#include <string>
#include <vector>

#include "CaptureManager.h"
#include "options.h"

/* Every monitor, in index order. Throws Failure when there is none to be had. */
std::vector<CAP_MONITOR_INFO> listMonitors();

struct MonitorChoice {
    CAP_MONITOR_INFO monitor{};
    CAP_SIZE size{};  // pixels of a frame, within the monitor's own size
};

/* What the options ask for. Throws Failure, which says what is possible. */
MonitorChoice chooseMonitor(const Options& options);

/* The monitor's own size in pixels. */
CAP_SIZE monitorSize(const CAP_MONITOR_INFO& monitor);

/* "1920x1080" */
std::string sizeText(CAP_SIZE size);

/* The product name, or a stand-in where the display has none. */
std::string monitorName(const CAP_MONITOR_INFO& monitor);

#endif
