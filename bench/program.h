// What the benchmark programs have in common: options, messages, exit status.
#ifndef QOR_BENCH_PROGRAM_H
#define QOR_BENCH_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

#include "report.h"

namespace CLI {
class App;
}

namespace qor::bench {

struct Options {
    int rounds;
    std::vector<std::string> cases;  // parts of names; none means all cases

    bool wants(const std::string& caseName) const;
};

struct Program {
    const char* name;      // of the benchmark, without "bench_"
    const char* question;  // that it answers; one line
    int rounds;            // unless asked otherwise
    // Measures and reports. Throws when a result is wrong.
    std::function<void(const Options&, Report&)> measure;
    // Adds options of the program's own, where it has some.
    std::function<void(CLI::App&, Options&)> addOptions = nullptr;
};

// 0 when measured and written, whatever the bars say; 1 with one line on standard error when not.
int runProgram(const Program& program, int argc, char** argv);

}  // namespace qor::bench

#endif
