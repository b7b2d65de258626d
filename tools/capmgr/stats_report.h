/* How the figures of a capture are told: to a person on a terminal, in a line, to a program. */
#ifndef CAPMGR_STATS_REPORT_H
#define CAPMGR_STATS_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "capture_choice.h"
#include "capture_statistics.h"
#include "terminal_screen.h"

std::vector<TerminalScreen::Line> statsScreen(const CaptureFigures& figures,
                                              const CaptureChoice& choice);

std::string statsLine(const CaptureFigures& figures, const CaptureChoice& choice);

nlohmann::ordered_json describeStats(const CaptureFigures& figures, const CaptureChoice& choice);

#endif
