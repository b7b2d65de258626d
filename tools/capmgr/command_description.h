/*
 * The command line as data: what completion scripts and the manual page are made from, so that a
 * new option is in all of them by itself.
 */
#ifndef CAPMGR_COMMAND_DESCRIPTION_H
#define CAPMGR_COMMAND_DESCRIPTION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

/* What a value is, as far as a shell can offer some. It follows from the value's name: FILE, DIR,
 * INDEX (of a monitor), ID (of a window), or the possible values with bars between them. */
enum class ValueKind { None, Text, File, Directory, Monitor, Window, Choice };

struct ValueDescription {
    std::string name;  // "WIDTHxHEIGHT"; empty if there is none
    ValueKind kind = ValueKind::None;
    std::vector<std::string> choices;
};

struct OptionDescription {
    std::vector<std::string> names;  // "-h", "--help"; empty: known by its place
    ValueDescription value;
    std::string text;
    bool isRequired = false;
    bool isRepeatable = false;
};

struct CommandDescription {
    std::string name;
    std::string text;
    std::vector<OptionDescription> options;
    std::vector<OptionDescription> arguments;  // those known by their place
};

struct ProgramDescription {
    CommandDescription program;  // its options go with every command, except help and the version
    std::vector<CommandDescription> commands;
};

ProgramDescription describeProgram(const CLI::App& app);

/* Whether an option asks for help or the version. */
bool isQuestion(const OptionDescription& option);

#endif
