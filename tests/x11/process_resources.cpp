#include "process_resources.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

std::ifstream open(const char* path) {
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error(std::string("cannot read ") + path);
    return file;
}

std::size_t countImageMappings() {
    auto maps = open("/proc/self/maps");
    std::size_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("/memfd:screen image") != std::string::npos ||
                 line.find("/SYSV") != std::string::npos;
    return count;
}

std::size_t countDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

}  // namespace

NoLargeFiles::NoLargeFiles() {
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limit{64 * 1024, previous_.rlim_max};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        throw std::runtime_error("cannot limit the size of files");
}

NoLargeFiles::~NoLargeFiles() {
    setrlimit(RLIMIT_FSIZE, &previous_);
}

std::vector<int> systemVSegmentsOf(int pid) {
    auto table = open("/proc/sysvipc/shm");
    std::string line;
    std::getline(table, line);  // the columns' names
    std::vector<int> segments;
    while (std::getline(table, line)) {
        std::istringstream columns(line);
        long key = 0, permissions = 0, size = 0;
        int identifier = 0, creator = 0;
        columns >> key >> identifier >> permissions >> size >> creator;
        if (creator == pid)
            segments.push_back(identifier);
    }
    return segments;
}

ProcessResources ProcessResources::now() {
    return {countDescriptors(), countImageMappings(), systemVSegmentsOf(getpid()).size()};
}

void PrintTo(const ProcessResources& resources, std::ostream* out) {
    *out << resources.descriptors << " descriptors, " << resources.imageMappings
         << " image mappings, " << resources.systemVSegments << " System V segments";
}
