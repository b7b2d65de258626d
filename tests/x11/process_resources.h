/* What this process has taken from the system and has to give back. */
#pragma once

#include <sys/resource.h>

#include <cstddef>
#include <iosfwd>
#include <vector>

struct ProcessResources {
    std::size_t descriptors = 0;      // open files, sockets and unnamed memory
    std::size_t imageMappings = 0;    // shared memory of the platform's, mapped
    std::size_t systemVSegments = 0;  // made by this process, and there

    static ProcessResources now();

    friend bool operator==(const ProcessResources&, const ProcessResources&) = default;
};

void PrintTo(const ProcessResources& resources, std::ostream* out);

/* Large files cannot be made while it lives, and memory known by a descriptor is a file to the
 * system, so only System V memory is to be had. */
class NoLargeFiles {
  public:
    NoLargeFiles();
    ~NoLargeFiles();
    NoLargeFiles(const NoLargeFiles&) = delete;
    NoLargeFiles& operator=(const NoLargeFiles&) = delete;

  private:
    rlimit previous_{};
};

/* The System V segments that a process made and that are still there, by identifier. */
std::vector<int> systemVSegmentsOf(int pid);
