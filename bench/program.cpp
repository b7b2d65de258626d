#include "program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

namespace qor::bench {

namespace {

void measureAndWrite(const Program& program, const Options& options, const std::string& directory) {
    if (!directory.empty()) {
        std::filesystem::create_directories(directory);  // rather fails now than after minutes
    }
    Report report(program.name, options.rounds);
    program.measure(options, report);
    if (report.results().empty()) {
        throw std::runtime_error("no case has such a name");
    }
    if (!directory.empty()) {
        report.write(directory);
    }
}

}  // namespace

bool Options::wants(const std::string& caseName) const {
    return cases.empty() || std::any_of(cases.begin(), cases.end(), [&](const std::string& part) {
               return caseName.find(part) != std::string::npos;
           });
}

int runProgram(const Program& program, int argc, char** argv) {
    Options options{program.rounds, {}};
    std::string directory;
    CLI::App app(program.question);
    app.add_option("--rounds", options.rounds, "turns of each contender")
        ->check(CLI::Range(3, 10000))
        ->capture_default_str();
    app.add_option("--case", options.cases, "only cases with this in their name; may be repeated");
    app.add_option("--output", directory, "write the table and JSON into this folder");
    if (program.addOptions) {
        program.addOptions(app, options);
    }
    CLI11_PARSE(app, argc, argv);
    try {
        measureAndWrite(program, options, directory);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_%s: %s\n", program.name, error.what());
        return 1;
    }
}

}  // namespace qor::bench
