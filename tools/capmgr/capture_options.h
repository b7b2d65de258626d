/*
 * The options of every command that captures: of which monitor, at which size, with which windows.
 *
 * Nothing here looks at the machine: whether a monitor or a window exists is found out by
 * chooseCapture.
 */
#ifndef CAPMGR_CAPTURE_OPTIONS_H
#define CAPMGR_CAPTURE_OPTIONS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "CaptureManager.h"

namespace CLI {
class App;
}

inline constexpr unsigned int kMostFramesPerSecond = 30;

struct CaptureOptions {
    std::optional<unsigned int> monitor;  // none: the primary one
    std::optional<CAP_SIZE> size;         // pixels; none: the monitor's own; a side may be 0
    std::vector<std::uint32_t> excluded;  // numbers of windows to leave out, none of them 0
    std::optional<std::uint32_t> window;  // to capture alone, not 0; then none is excluded
    bool isPicked = false;                // the window to capture alone is clicked
    int excludedByClick = 0;              // how many windows to leave out are clicked
    unsigned int framesPerSecond = kMostFramesPerSecond;  // from 1
};

/* Adds the options, which fill in `options`, and the refusal of those that contradict each other.
 */
void addCaptureOptions(CLI::App& command, CaptureOptions& options);

/* Adds --exclude alone, for commands that choose all else by themselves. */
void addExcludeOption(CLI::App& command, CaptureOptions& options);

/* Adds --fps, for the commands that have a rate. */
void addRateOption(CLI::App& command, CaptureOptions& options);

#endif
