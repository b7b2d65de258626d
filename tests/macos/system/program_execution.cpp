// Running another program: this system cannot run a macOS one by itself, so it is given to the
// loader that runs the present one, with the same stand-ins.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr uint32_t kMachO = 0xFEEDFACF;
constexpr char kSelf[] = "/proc/self/exe";

bool isMachO(const char* path) {
    uint32_t magic = 0;
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&magic), sizeof(magic));
    return file && magic == kMachO;
}

// The loader's name and its options, each of which has a value; the program's path comes next.
std::vector<std::string> loaderArguments() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> all;
    for (std::string argument; std::getline(file, argument, '\0');) {
        all.push_back(argument);
    }
    size_t program = 1;
    while (program < all.size() && all[program].starts_with("--")) {
        const bool valueFollows = all[program].find('=') == std::string::npos;
        program += valueFollows ? size_t{2} : size_t{1};
    }
    all.resize(std::min(program, all.size()));
    return all;
}

int executeIn(const char* path, char* const* arguments, char* const* environment) {
    if (!isMachO(path)) {
        return execve(path, arguments, environment);
    }
    std::vector<std::string> words = loaderArguments();
    words.emplace_back(path);
    std::vector<char*> all(words.size());
    std::transform(words.begin(), words.end(), all.begin(),
                   [](std::string& word) { return word.data(); });
    // The program is named by its path, whatever it is to be called.
    for (size_t i = 0; arguments[0] != nullptr && arguments[i + 1] != nullptr; ++i) {
        all.push_back(arguments[i + 1]);
    }
    all.push_back(nullptr);
    return execve(kSelf, all.data(), environment);
}

int execute(const char* path, char* const* arguments) {
    return executeIn(path, arguments, environ);
}

const Registration registration{
    symbol("_execv", execute),
    symbol("_execve", executeIn),
};

}  // namespace
}  // namespace system_library
