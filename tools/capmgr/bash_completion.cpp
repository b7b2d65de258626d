#include <fmt/format.h>

#include "completion_scripts.h"

namespace {

constexpr const char* kBegin = R"sh(# bash completion of capmgr, made by 'capmgr completion bash'

# Column $3 of the table that the program $1 prints for the command $2.
_capmgr_column() {
    "$1" "$2" 2>/dev/null | awk -v column="$3" 'NR > 1 && $column ~ /^[0-9]+$/ { print $column }'
}

_capmgr() {
    local program=$1 current=$2 previous=$3 command= word kind=
    # "--window=5" arrives as three words.
    [[ $current == "=" ]] && current=
    [[ $previous == "=" ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        case $word in
)sh";

constexpr const char* kEnd = R"sh(    local IFS=$' \t\n'
    case $kind in
        text) COMPREPLY=() ;;
        file) IFS=$'\n'; compopt -o filenames 2>/dev/null
              COMPREPLY=($(compgen -f -- "$current")) ;;
        directory) IFS=$'\n'; compopt -o filenames 2>/dev/null
                   COMPREPLY=($(compgen -d -- "$current")) ;;
        monitor) COMPREPLY=($(compgen -W "$(_capmgr_column "$program" monitors 1)" -- "$current")) ;;
        window) COMPREPLY=($(compgen -W "$(_capmgr_column "$program" windows 2)" -- "$current")) ;;
        *) COMPREPLY=($(compgen -W "$kind" -- "$current")) ;;
    esac
}

complete -F _capmgr capmgr
)sh";

std::string joined(const std::vector<std::string>& words, const char* separator) {
    return fmt::format("{}", fmt::join(words, separator));
}

/* What the script calls a kind of value: a word of its own, or the possible values. */
std::string kindWord(const ValueDescription& value) {
    switch (value.kind) {
        case ValueKind::File:
            return "file";
        case ValueKind::Directory:
            return "directory";
        case ValueKind::Monitor:
            return "monitor";
        case ValueKind::Window:
            return "window";
        case ValueKind::Choice:
            return joined(value.choices, " ");
        case ValueKind::Text:
        case ValueKind::None:
            break;
    }
    return "text";
}

std::string valueLines(const std::string& command, const CommandDescription& description) {
    std::string text;
    for (const OptionDescription& option : description.options) {
        if (option.value.kind == ValueKind::None) {
            continue;
        }
        for (const std::string& name : option.names) {
            text += fmt::format("        {}' {}') kind='{}' ;;\n", command, name,
                                kindWord(option.value));
        }
    }
    return text;
}

std::string namesOf(const std::vector<OptionDescription>& options, bool withQuestions) {
    std::string names;
    for (const OptionDescription& option : options) {
        if (withQuestions || !isQuestion(option)) {
            names += joined(option.names, " ") + " ";
        }
    }
    return names;
}

std::string commandNames(const ProgramDescription& description, const char* separator) {
    std::vector<std::string> names;
    for (const CommandDescription& command : description.commands) {
        names.push_back(command.name);
    }
    return joined(names, separator);
}

/* What stands where no option's value does. */
std::string ownWords(const ProgramDescription& description) {
    const std::vector<OptionDescription>& global = description.program.options;
    std::string text = fmt::format("        ' -'*) kind='{}' ;;\n", namesOf(global, true));
    text += fmt::format("        ' '*) kind='{}' ;;\n", commandNames(description, " "));
    for (const CommandDescription& command : description.commands) {
        const std::string options = namesOf(command.options, true) + namesOf(global, false);
        const bool takesArgument = !command.arguments.empty();
        text += fmt::format("        '{} -'*) kind='{}' ;;\n", command.name, options);
        text += fmt::format("        '{} '*) kind='{}' ;;\n", command.name,
                            takesArgument ? kindWord(command.arguments.front().value) : options);
    }
    return text;
}

}  // namespace

std::string bashCompletion(const ProgramDescription& description) {
    std::string text = kBegin;
    text += fmt::format("            {}) command=$word; break ;;\n        esac\n    done\n",
                        commandNames(description, " | "));
    text += "    case \"$command $previous\" in\n";
    text += valueLines("*", description.program);
    for (const CommandDescription& command : description.commands) {
        text += valueLines(command.name, command);
    }
    text += "    esac\n    [[ -z $kind ]] && case \"$command $current\" in\n";
    text += ownWords(description) + "    esac\n";
    return text + kEnd;
}
