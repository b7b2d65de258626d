#include "machine.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <gnu/libc-version.h>
#include <sys/utsname.h>

#include <algorithm>
#include <fstream>

namespace qor::bench {

namespace {

constexpr size_t kGuessedCacheBytes = size_t{64} << 20;

// The value of the first line "name : value" of the system's description of the processor.
std::string processorField(const std::string& name) {
    std::ifstream description("/proc/cpuinfo");
    std::string line;
    while (std::getline(description, line)) {
        const size_t colon = line.find(": ");
        if (line.starts_with(name) && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "unknown";
}

std::string processor() {
    return fmt::format("{} (family {}, model {})", processorField("model name"),
                       processorField("cpu family"), processorField("model\t"));
}

std::string cacheSizes() {
    std::string text;
    for (const auto& cache : benchmark::CPUInfo::Get().caches) {
        const char* const kind = cache.type == "Data"          ? "d"
                                 : cache.type == "Instruction" ? "i"
                                                               : "";
        text += fmt::format("{}L{}{} {} KiB", text.empty() ? "" : ", ", cache.level, kind,
                            cache.size / 1024);
    }
    return text.empty() ? "unknown" : text;
}

std::string system() {
    utsname name{};
    return uname(&name) == 0 ? fmt::format("{} {} {}", name.sysname, name.release, name.machine)
                             : "unknown";
}

std::string compiler() {
#ifdef __clang__
    return __VERSION__;
#else
    return "g++ " __VERSION__;
#endif
}

}  // namespace

size_t lastLevelCacheBytes() {
    size_t largest = 0;
    for (const auto& cache : benchmark::CPUInfo::Get().caches) {
        largest = std::max(largest, static_cast<size_t>(std::max(cache.size, 0)));
    }
    return largest == 0 ? kGuessedCacheBytes : largest;
}

std::vector<std::pair<std::string, std::string>> describeMachine() {
    return {{"processor", processor()},
            {"cores", fmt::format("{}", benchmark::CPUInfo::Get().num_cpus)},
            {"caches", cacheSizes()},
            {"system", system()},
            {"compiler", compiler()},
            {"C library", fmt::format("glibc {}", gnu_get_libc_version())}};
}

}  // namespace qor::bench
