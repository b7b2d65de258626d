#include <CLI/CLI.hpp>
#include <string>

#include "command_description.h"
#include "commands.h"
#include "completion_scripts.h"
#include "manual_page.h"
#include "option_values.h"

namespace {

std::string completionText(const std::string& kind, const CLI::App& app) {
    const ProgramDescription description = describeProgram(app);
    if (kind == "man") {
        return manualPage(description);
    }
    if (kind == "bash") {
        return bashCompletion(description);
    }
    return kind == "zsh" ? zshCompletion(description) : fishCompletion(description);
}

}  // namespace

void addCompletionCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& completion = *app.add_subcommand(
        "completion", "print a script that completes command lines in a shell, or the manual page");
    // Made while parsing: the description of the command line is gone when the command runs.
    completion
        .add_option_function<std::string>(
            "bash|zsh|fish|man",
            [&app, &invocation](const std::string& text) {
                const std::string kind =
                    parseChoice("completion", text, {"bash", "zsh", "fish", "man"});
                invocation.command =
                    [script = completionText(kind, app)](const Environment& environment) {
                        environment.console.write(script);
                    };
            },
            "the shell, or man for the manual page in man(7)")
        ->type_name("")
        ->required();
}
