#include <fmt/format.h>

#include "completion_scripts.h"

namespace {

constexpr const char* kBegin = R"zsh(#compdef capmgr
# zsh completion of capmgr, made by 'capmgr completion zsh'

_capmgr_monitors() {
    local -a found
    found=(${(f)"$(_call_program monitors $capmgr monitors 2>/dev/null |
        awk 'NR > 1 { index_ = $1; sub(/^ *[0-9]+ +/, ""); print index_ ":" $0 }')"})
    _describe -t monitors monitor found
}

_capmgr_windows() {
    local -a found
    found=(${(f)"$(_call_program windows $capmgr windows 2>/dev/null |
        awk 'NR > 1 { number = $2; sub(/^.* [0-9]+x[0-9]+ +/, ""); print number ":" $0 }')"})
    _describe -t windows window found
}

_capmgr() {
    local capmgr=$words[1] context state state_descr line
    typeset -A opt_args
)zsh";

/* Within single quotes and the brackets of a specification. */
std::string quoted(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '\'') {
            result += "'\\''";
            continue;
        }
        if (std::string("[]:\\").find(character) != std::string::npos) {
            result += '\\';
        }
        result += character;
    }
    return result;
}

std::string action(const ValueDescription& value) {
    switch (value.kind) {
        case ValueKind::File:
            return "_files";
        case ValueKind::Directory:
            return "_files -/";
        case ValueKind::Monitor:
            return "_capmgr_monitors";
        case ValueKind::Window:
            return "_capmgr_windows";
        case ValueKind::Choice:
            return fmt::format("({})", fmt::join(value.choices, " "));
        case ValueKind::Text:
        case ValueKind::None:
            break;
    }
    return " ";
}

std::string optionSpecifications(const std::vector<OptionDescription>& options) {
    std::string text;
    for (const OptionDescription& option : options) {
        const bool takesValue = option.value.kind != ValueKind::None;
        for (const std::string& name : option.names) {
            text += fmt::format(" \\\n            '{}{}{}[{}]", option.isRepeatable ? "*" : "",
                                name, takesValue ? "=" : "", quoted(option.text));
            text += takesValue
                        ? fmt::format(":{}:{}'", quoted(option.value.name), action(option.value))
                        : "'";
        }
    }
    return text;
}

std::string argumentSpecifications(const std::vector<OptionDescription>& arguments) {
    std::string text;
    for (const OptionDescription& argument : arguments) {
        text += fmt::format(" \\\n            '{}{}:{}'",
                            argument.isRequired ? ":" : "::", quoted(argument.value.name),
                            action(argument.value));
    }
    return text;
}

std::vector<OptionDescription> withoutQuestions(std::vector<OptionDescription> options) {
    std::erase_if(options, isQuestion);
    return options;
}

}  // namespace

std::string zshCompletion(const ProgramDescription& description) {
    const std::vector<OptionDescription>& global = description.program.options;
    std::string text = kBegin;
    text += "    _arguments -C" + optionSpecifications(global);
    text += " \\\n            '1: :->command' '*:: :->arguments' && return\n";
    text += "    case $state in\n    command)\n        local -a commands\n        commands=(\n";
    for (const CommandDescription& command : description.commands) {
        text += fmt::format("            '{}:{}'\n", command.name, quoted(command.text));
    }
    text += "        )\n        _describe -t commands command commands ;;\n";
    text += "    arguments)\n        case $words[1] in\n";
    for (const CommandDescription& command : description.commands) {
        text += fmt::format("        {})\n            _arguments", command.name);
        text += optionSpecifications(command.options) +
                optionSpecifications(withoutQuestions(global)) +
                argumentSpecifications(command.arguments) + " ;;\n";
    }
    // As a file of the function path it is the function's body; sourced, it has to be named.
    return text +
           "        esac ;;\n    esac\n}\n\n"
           "if [[ $funcstack[1] == _capmgr ]]; then\n    _capmgr \"$@\"\n"
           "else\n    compdef _capmgr capmgr\nfi\n";
}
