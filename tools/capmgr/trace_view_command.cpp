#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"
#include "display_text.h"
#include "failure.h"
#include "json_output.h"
#include "option_values.h"
#include "trace_timeline.h"

namespace {

struct TraceViewOptions {
    std::string file = "-";
    bool json = false;
};

double lengthOf(const TraceEvent& event) {
    return event.seconds && event.until ? *event.until - *event.seconds : 0.0;
}

double rateOf(const TraceEvent& event) {
    const double length = lengthOf(event);
    return length > 0.0 ? static_cast<double>(event.count - 1) / length : 0.0;
}

std::string lasting(const TraceEvent& event) {
    if (event.kind == TraceEvent::Kind::Frames) {
        const double rate = rateOf(event);
        const std::string count = fmt::format("{}", event.count);
        return rate > 0.0
                   ? fmt::format("{} in {:.3f} s, {:.1f} frames/s", count, lengthOf(event), rate)
                   : count;
    }
    const std::string length =
        lengthOf(event) > 0.0 ? fmt::format(" in {:.3f} s", lengthOf(event)) : "";
    return event.count > 1 ? fmt::format(" ({} times{})", event.count, length) : "";
}

Style styleOf(const TraceEvent& event) {
    switch (event.kind) {
        case TraceEvent::Kind::Frames:
            return Style::Good;
        case TraceEvent::Kind::Fault:
            return Style::Error;
        case TraceEvent::Kind::Call:
            break;
    }
    return Style::Plain;
}

void show(Console& console, const std::string& title, const TraceTimeline::Events& events) {
    console.write(console.styled(title, Style::Heading) + "\n");
    for (const TraceEvent& event : events) {
        const std::string place = event.seconds
                                      ? fmt::format("{:>12.3f} s", *event.seconds)
                                      : fmt::format("{:>14}", fmt::format("line {}", event.line));
        const std::string name = fmt::format("{:<14}", event.name);
        const std::string line =
            fmt::format("{}  {}  {}{}\n", place, console.styled(name, styleOf(event)),
                        printable(event.detail), lasting(event));
        console.write(line.substr(0, line.find_last_not_of(" \n") + 1) + "\n");
    }
}

void showTimeline(Console& console, const TraceTimeline& timeline) {
    for (const auto& [index, events] : timeline.captures()) {
        show(console, fmt::format("capture {}", index), events);
    }
    if (!timeline.others().empty()) {
        show(console, "of no capture in particular", timeline.others());
    }
}

nlohmann::ordered_json describe(const TraceTimeline::Events& events) {
    auto document = nlohmann::ordered_json::array();
    for (const TraceEvent& event : events) {
        nlohmann::ordered_json entry{{"line", event.line}};
        entry["seconds"] = event.seconds ? nlohmann::ordered_json(*event.seconds) : nullptr;
        entry["event"] = event.name;
        entry["is_fault"] = event.kind == TraceEvent::Kind::Fault;
        entry["detail"] = event.detail;
        entry["count"] = event.count;
        entry["length_s"] = lengthOf(event);
        if (event.kind == TraceEvent::Kind::Frames) {
            entry["frames_per_second"] = rateOf(event);
        }
        document.push_back(entry);
    }
    return document;
}

nlohmann::ordered_json describe(const TraceTimeline& timeline, std::size_t lines) {
    auto captures = nlohmann::ordered_json::array();
    for (const auto& [index, events] : timeline.captures()) {
        captures.push_back({{"index", index}, {"events", describe(events)}});
    }
    return {{"captures", captures},
            {"others", describe(timeline.others())},
            {"is_ambiguous", timeline.isAmbiguous()},
            {"lines", lines},
            {"messages", timeline.messages()}};
}

void viewTrace(const TraceViewOptions& options, const Environment& environment) {
    if (options.file == "-" && isatty(STDIN_FILENO) == 1) {
        environment.errors.note("reads the trace from the terminal, up to Ctrl-D");
    }
    TraceReader reader(options.file, environment.interruption);
    TraceTimeline timeline;
    while (const auto message = reader.read()) {
        timeline.add(*message);
    }
    if (timeline.messages() == 0) {
        throw Failure(
            fmt::format("none of {} lines is of the library's trace, such as 'capmgr "
                        "--trace 2' shows",
                        reader.lines()));
    }
    if (timeline.isAmbiguous()) {
        environment.errors.note(
            "several captures ran at once: whose frames and faults those were, the trace does not "
            "say");
    }
    if (options.json) {
        writeJson(environment.console, describe(timeline, reader.lines()));
    } else {
        showTimeline(environment.console, timeline);
    }
}

}  // namespace

void addTraceViewCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& view = *app.add_subcommand(
        "trace-view",
        "tell what went on in captures from the library's trace, or a log that holds it");
    const auto options = std::make_shared<TraceViewOptions>();
    view.add_option_function<std::string>(
            "FILE", [options](const std::string& text) { options->file = parsePath("FILE", text); },
            "the trace; - is standard input (default: -). The library's texts may stand anywhere "
            "in a line, behind a time or not")
        ->type_name("");
    addJsonOption(view, options->json);
    view.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            viewTrace(*options, environment);
        };
    });
}
