// Runs a macOS program for x86-64 on x86-64 Linux: loads it and the libraries it needs, puts
// stand-ins in the place of the system's libraries, and calls its main.
//   macho_run [--stand-in FILE]... PROGRAM [ARGUMENT]...
// Exits as the program does; 127 with one line when it cannot be run, 2 for a mistake of use.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "linking.h"
#include "load_error.h"
#include "loader_library.h"
#include "program_start.h"
#include "stand_ins.h"
#include "symbols.h"

namespace {

constexpr char kUsage[] = "usage: macho_run [--stand-in FILE]... PROGRAM [ARGUMENT]...";
constexpr int kMistakeOfUse = 2;
constexpr int kCannotRun = 127;

struct Options {
    std::vector<std::string> standIns;
    // The program's own arguments, its path first.
    int argumentCount = 0;
    char** arguments = nullptr;
};

// The loader's options end at the program's path: all that follows is the program's.
int parse(int argc, char** argv, Options& options) {
    CLI::App app("Runs a macOS program", "macho_run");
    app.prefix_command();
    app.add_option("--stand-in", options.standIns)->allow_extra_args(false);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::puts(kUsage);
        return -1;
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "macho_run: %s; %s\n", error.what(), kUsage);
        return kMistakeOfUse;
    }
    const std::vector<std::string> left = app.remaining();
    if (left.empty() || left.front().starts_with('-')) {
        std::fprintf(stderr, "macho_run: %s; %s\n",
                     left.empty() ? "no program" : ("unknown option " + left.front()).c_str(),
                     kUsage);
        return kMistakeOfUse;
    }
    options.argumentCount = static_cast<int>(left.size());
    options.arguments = argv + (argc - options.argumentCount);
    return 0;
}

// Everything here lives as long as the process: code of the images may run until its very end.
macho::ProgramStart& prepare(const Options& options) {
    auto& images = *new macho::ImageList;
    auto& standIns = *new macho::StandIns;
    images.load(options.arguments[0]);
    for (const std::string& file : options.standIns) {
        standIns.add(file, images);
    }
    auto& symbols = *new macho::Symbols(images, standIns);
    loader_library::setProcess({&images, &symbols, options.argumentCount, options.arguments});
    macho::link(images, symbols);
    return *new macho::ProgramStart(images, standIns);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const int outcome = parse(argc, argv, options);
    if (outcome != 0) {
        return outcome < 0 ? 0 : outcome;
    }
    try {
        prepare(options).run(options.argumentCount, options.arguments);
    } catch (const macho::LoadError& error) {
        std::fprintf(stderr, "macho_run: %s\n", error.what());
        return kCannotRun;
    }
}
