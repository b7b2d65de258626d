/* The command line as a whole: which command is to be run, and how. */
#ifndef CAPMGR_COMMAND_LINE_H
#define CAPMGR_COMMAND_LINE_H

#include <optional>

#include "commands.h"

/*
 * What a command line asks for, or none when it asked for help or the version, which are then
 * written to the console. Both consoles are told whether to use colours. Throws Failure (bad usage)
 * for anything that makes no sense. Nothing here looks at the machine.
 */
std::optional<Invocation> parseCommandLine(int argc, char** argv, Console& console,
                                           Console& errors);

#endif
