/* The commands. Each runs to its end on the calling thread or throws Failure. */
#ifndef CAPMGR_COMMANDS_H
#define CAPMGR_COMMANDS_H

#include "console.h"
#include "interruption.h"
#include "options.h"
#include "trace_output.h"

/* What every command works with. */
struct Environment {
    Console& console;
    const TraceOutput& trace;
    Interruption& interruption;
};

void monitorsCommand(Console& console);
void windowsCommand(Console& console);
void shotCommand(const Options& options, const Environment& environment);
void runCommand(const Options& options, const Environment& environment);

#endif
