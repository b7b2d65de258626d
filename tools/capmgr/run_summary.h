#ifndef CAPMGR_RUN_SUMMARY_H
#define CAPMGR_RUN_SUMMARY_H

#include <filesystem>
#include <string>
#include <vector>

#include "CaptureManager.h"
#include "frame_keeper.h"

/* The table that ends a run; frames holds one frame at least. */
std::string runSummary(const FrameKeeper& frames, const CAP_MONITOR_INFO& monitor,
                       const std::vector<std::filesystem::path>& pictures);

#endif
