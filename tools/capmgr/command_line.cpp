#include "command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "failure.h"
#include "help_format.h"
#include "option_values.h"

namespace {

ColorUse parseColorUse(const std::string& text) {
    const std::string use = parseChoice("--color", text, {"auto", "always", "never"});
    if (use == "auto") {
        return ColorUse::Auto;
    }
    return use == "always" ? ColorUse::Always : ColorUse::Never;
}

void describe(CLI::App& app, Invocation& invocation, Console& console, Console& errors) {
    app.formatter(std::make_shared<HelpFormat>());  // the commands inherit it
    app.set_help_flag("-h,--help", "print this help and exit");
    app.set_version_flag("--version", "capmgr " CAPMGR_VERSION, "print the version and exit");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option_function<std::string>(
           "--trace",
           [&invocation](const std::string& text) {
               invocation.traceLevel = parseTraceLevel("--trace", text);
           },
           "show the library's trace on standard error up to LEVEL: -1 nothing, 0 errors, "
           "1 warnings, 2 information, 3 per-frame detail (default: none is shown); each line "
           "begins with the seconds since the program's start")
        ->type_name("LEVEL");
    app.add_option_function<std::string>(
           "--color",
           [&console, &errors](const std::string& text) {
               console.setColor(parseColorUse(text));
               errors.setColor(parseColorUse(text));
           },
           "whether to use colours (default: auto, which is on terminals only)")
        ->type_name("auto|always|never");
    addMonitorsCommand(app, invocation);
    addWindowsCommand(app, invocation);
    addShotCommand(app, invocation);
    addThumbsCommand(app, invocation);
    addRunCommand(app, invocation);
    addRecordCommand(app, invocation);
    addViewCommand(app, invocation);
    addStatsCommand(app, invocation);
    addTraceViewCommand(app, invocation);
    addCompletionCommand(app, invocation);
    app.footer("Exit status: 0 done, 1 failed, 2 bad usage.");
}

std::string commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return listed(names);
}

/* The command that was given, else the program itself. */
const CLI::App& commandOf(const CLI::App& app) {
    const std::vector<CLI::App*> given = app.get_subcommands();
    return given.empty() ? app : *given.front();
}

/* How to ask for the help that tells of what this complaint begins with. */
std::string helpFor(const CLI::App& app, const std::string& complaint) {
    const std::string option = complaint.substr(0, complaint.find(':'));
    const CLI::App& command = commandOf(app);
    const bool isGlobal = &command == &app || app.get_option_no_throw(option) != nullptr;
    return isGlobal ? "capmgr --help" : fmt::format("capmgr {} --help", command.get_name());
}

// The parser names what is left over in no order, with values that belong to nothing.
std::string complaintOfRest(const CLI::App& app) {
    const std::vector<std::string> rest = app.remaining(true);
    const auto option = std::find_if(rest.begin(), rest.end(), [](const std::string& argument) {
        return argument.starts_with('-');
    });
    const std::string command = commandOf(app).get_name();
    return option == rest.end() ? fmt::format("'{}' is more than {} takes", rest.front(), command)
                                : fmt::format("'{}' is not an option of {}", *option, command);
}

// The parser's own words for a missing or misspelt command name neither it nor the possible ones.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool commandGiven = !app.get_subcommands().empty();
    if (!commandGiven && !unknown.empty()) {
        const bool option = unknown.front().starts_with('-');
        return option
                   ? fmt::format("'{}' is not an option", unknown.front())
                   : fmt::format("'{}' is not a command: {}", unknown.front(), commandNames(app));
    }
    if (!commandGiven && error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
        return "a command is required: " + commandNames(app);
    }
    if (commandGiven && !app.remaining(true).empty() &&
        error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
        return complaintOfRest(app);
    }
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

std::optional<Invocation> parseCommandLine(int argc, char** argv, Console& console,
                                           Console& errors) {
    Invocation invocation;
    CLI::App app("Captures monitors through the capture manager.", "capmgr");
    describe(app, invocation, console, errors);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer, answer);
        console.write(answer.str());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        const std::string text = complaint(app, error);
        throw Failure(fmt::format("{}; see '{}'", text, helpFor(app, text)), ExitStatus::BadUsage);
    }
    return invocation;
}
