/*
 * The command line as typed values. Nothing here looks at the machine: whether a monitor or a
 * window exists or a file can be written is found out by the commands.
 */
#ifndef CAPMGR_OPTIONS_H
#define CAPMGR_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CaptureManager.h"
#include "console.h"

enum class Command { Monitors, Windows, Shot, Run };

struct Options {
    Command command = Command::Monitors;
    std::optional<int> traceLevel;        // none: no trace is shown
    std::optional<unsigned int> monitor;  // none: the primary one
    std::optional<CAP_SIZE> size;         // pixels; none: the monitor's own; a side may be 0
    std::vector<std::uint32_t> excluded;  // numbers of windows to leave out, none of them 0
    std::optional<std::uint32_t> window;  // to capture alone, not 0; then none is excluded
    std::string file;                     // shot
    std::string directory = "captures";   // run
    unsigned int framesPerSecond = 30;    // run: 1 to 30
    double seconds = 5.0;                 // run: above 0, at most a day
};

/*
 * The options of a command line, or none when it asked for help or the version, which are then
 * written to the console. Throws Failure (bad usage) for anything that makes no sense.
 */
std::optional<Options> parseOptions(int argc, char** argv, Console& console);

#endif
