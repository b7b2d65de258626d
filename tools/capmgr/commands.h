/*
 * The commands. Each adds itself to the command line with its options, and when it is the one that
 * was asked for, puts what is to be done into the invocation. That then runs to its end on the
 * calling thread or throws Failure.
 */
#ifndef CAPMGR_COMMANDS_H
#define CAPMGR_COMMANDS_H

#include <functional>
#include <optional>

#include "console.h"
#include "interruption.h"
#include "trace_output.h"

namespace CLI {
class App;
}

/* What every command works with. */
struct Environment {
    Console& console;
    Console& errors;  // standard error: for notes
    const TraceOutput& trace;
    Interruption& interruption;
};

/* What a command line asks for. */
struct Invocation {
    std::optional<int> traceLevel;  // none: no trace is shown
    std::function<void(const Environment&)> command;
};

void addMonitorsCommand(CLI::App& app, Invocation& invocation);
void addWindowsCommand(CLI::App& app, Invocation& invocation);
void addShotCommand(CLI::App& app, Invocation& invocation);
void addThumbsCommand(CLI::App& app, Invocation& invocation);
void addRunCommand(CLI::App& app, Invocation& invocation);
void addRecordCommand(CLI::App& app, Invocation& invocation);
void addViewCommand(CLI::App& app, Invocation& invocation);
void addStatsCommand(CLI::App& app, Invocation& invocation);
void addTraceViewCommand(CLI::App& app, Invocation& invocation);
void addCompletionCommand(CLI::App& app, Invocation& invocation);

#endif
