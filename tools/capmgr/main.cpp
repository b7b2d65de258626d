/*
 * capmgr: the capture manager on the command line. Lists monitors and windows, takes pictures,
 * captures for a while and reports how that went, records, and shows what is captured as others see
 * it.
 *
 * A command that fails writes one line to standard error, whatever the library traces meanwhile.
 */
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <exception>

#include "command_line.h"
#include "failure.h"

namespace {

// A program started with a standard stream closed would get that number for its connection or its
// file, and its messages would end up in there.
void openMissingStreams() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // What is written to the one, or read from the other, fails all the same.
            // cppcheck-suppress leakReturnValNotUsed ; to stay open is what it is for
            open("/dev/null", descriptor == STDOUT_FILENO  ? O_RDONLY
                              : descriptor == STDIN_FILENO ? O_WRONLY
                                                           : O_RDWR);
        }
    }
}

ExitStatus report(Console& errors, const char* line, ExitStatus status) {
    errors.write(errors.styled("capmgr:", Style::Error) + " " + line + "\n");
    return status;
}

ExitStatus runProgram(int argc, char** argv) {
    Console errors(stderr);
    try {
        Console console;
        const std::optional<Invocation> invocation = parseCommandLine(argc, argv, console, errors);
        if (invocation) {
            Interruption interruption;
            const TraceOutput trace(invocation->traceLevel);
            invocation->command({console, errors, trace, interruption});
        }
        console.finish();
        return ExitStatus::Success;
    } catch (const Failure& failure) {
        return report(errors, failure.what(), failure.status());
    } catch (const std::exception& error) {
        return report(errors, error.what(), ExitStatus::Failed);
    }
}

}  // namespace

int main(int argc, char** argv) {
    // A reader of the output that goes away must not end a capture without its pictures, and a file
    // that may not grow any more must not end a recording without its end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    openMissingStreams();
    return static_cast<int>(runProgram(argc, argv));
}
