#ifndef CAPMGR_RUN_SUMMARY_H
#define CAPMGR_RUN_SUMMARY_H

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "CaptureManager.h"
#include "frame_keeper.h"

/* The table that ends a run; frames holds one frame at least. */
std::string runSummary(const FrameKeeper& frames, const CAP_MONITOR_INFO& monitor,
                       const std::vector<std::filesystem::path>& pictures);

/* The same as data. */
nlohmann::ordered_json describeRun(const FrameKeeper& frames, const CAP_MONITOR_INFO& monitor,
                                   const std::vector<std::filesystem::path>& pictures);

#endif
