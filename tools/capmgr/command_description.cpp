#include "command_description.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace {

std::vector<std::string> partsOf(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, '|');) {
        parts.push_back(part);
    }
    return parts;
}

ValueKind kindOf(const std::string& name) {
    if (name.find('|') != std::string::npos) {
        return ValueKind::Choice;
    }
    if (name.starts_with("FILE")) {
        return ValueKind::File;
    }
    if (name == "DIR") {
        return ValueKind::Directory;
    }
    if (name == "INDEX") {
        return ValueKind::Monitor;
    }
    return name == "ID" ? ValueKind::Window : ValueKind::Text;
}

ValueDescription describeValue(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) {
        return {};
    }
    const bool byPlace = !option.nonpositional();
    const std::string name = byPlace ? option.get_name(true) : option.get_type_name();
    const ValueKind kind = kindOf(name);
    return {name, kind, kind == ValueKind::Choice ? partsOf(name) : std::vector<std::string>{}};
}

OptionDescription describe(const CLI::Option& option) {
    OptionDescription description;
    for (const std::string& name : option.get_snames()) {
        description.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        description.names.push_back("--" + name);
    }
    description.value = describeValue(option);
    description.text = option.get_description();
    description.isRequired = option.get_required();
    description.isRepeatable = option.get_items_expected_max() > 1;
    return description;
}

CommandDescription describe(const CLI::App& app) {
    CommandDescription description{app.get_name(), app.get_description(), {}, {}};
    for (const CLI::Option* option : app.get_options()) {
        auto& list = option->nonpositional() ? description.options : description.arguments;
        list.push_back(describe(*option));
    }
    return description;
}

}  // namespace

ProgramDescription describeProgram(const CLI::App& app) {
    ProgramDescription description{describe(app), {}};
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        description.commands.push_back(describe(*command));
    }
    return description;
}

bool isQuestion(const OptionDescription& option) {
    return std::any_of(option.names.begin(), option.names.end(), [](const std::string& name) {
        return name == "--help" || name == "--version";
    });
}
