#include <fmt/format.h>

#include "completion_scripts.h"

namespace {

constexpr const char* kBegin = R"(# fish completion of capmgr, made by 'capmgr completion fish'

function __capmgr_program
    set -l words (commandline -opc)
    echo $words[1]
end

function __capmgr_monitors
    set -l program (__capmgr_program)
    $program monitors 2>/dev/null |
        awk 'NR > 1 { index_ = $1; sub(/^ *[0-9]+ +/, ""); print index_ "\t" $0 }'
end

function __capmgr_windows
    set -l program (__capmgr_program)
    $program windows 2>/dev/null |
        awk 'NR > 1 { number = $2; sub(/^.* [0-9]+x[0-9]+ +/, ""); print number "\t" $0 }'
end

complete -c capmgr -f
)";

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'' || character == '\\') {
            result += '\\';
        }
        result += character;
    }
    return result + "'";
}

std::string offered(const ValueDescription& value) {
    switch (value.kind) {
        case ValueKind::None:
            return "";
        case ValueKind::File:
            return " -r -F";
        case ValueKind::Directory:
            return " -x -a '(__fish_complete_directories)'";
        case ValueKind::Monitor:
            return " -x -a '(__capmgr_monitors)'";
        case ValueKind::Window:
            return " -x -a '(__capmgr_windows)'";
        case ValueKind::Choice:
            return fmt::format(" -x -a '{}'", fmt::join(value.choices, " "));
        case ValueKind::Text:
            break;
    }
    return " -x";
}

std::string optionLine(const std::string& condition, const OptionDescription& option) {
    std::string line = "complete -c capmgr" + condition;
    for (const std::string& name : option.names) {
        const bool isLong = name.starts_with("--");
        line += (isLong ? " -l " : " -s ") + name.substr(isLong ? 2 : 1);
    }
    return line + offered(option.value) + " -d " + quoted(option.text) + "\n";
}

std::string argumentLine(const std::string& condition, const OptionDescription& argument) {
    if (argument.value.kind == ValueKind::File) {
        return "complete -c capmgr" + condition + " -F\n";
    }
    return "complete -c capmgr" + condition + offered(argument.value) + "\n";
}

}  // namespace

std::string fishCompletion(const ProgramDescription& description) {
    std::string text = kBegin;
    for (const OptionDescription& option : description.program.options) {
        text += optionLine(isQuestion(option) ? " -n __fish_use_subcommand" : "", option);
    }
    for (const CommandDescription& command : description.commands) {
        const std::string condition = " -n '__fish_seen_subcommand_from " + command.name + "'";
        text += fmt::format("complete -c capmgr -n __fish_use_subcommand -a {} -d {}\n",
                            command.name, quoted(command.text));
        for (const OptionDescription& option : command.options) {
            text += optionLine(condition, option);
        }
        for (const OptionDescription& argument : command.arguments) {
            text += argumentLine(condition, argument);
        }
    }
    return text;
}
