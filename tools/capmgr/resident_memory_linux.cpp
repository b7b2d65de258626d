#include <unistd.h>

#include <fstream>

#include "process_usage.h"

std::uint64_t residentMemory() {
    std::uint64_t all = 0;
    std::uint64_t resident = 0;  // both in pages
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}
