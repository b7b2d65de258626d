#include "segment_mapping.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "load_error.h"
#include "macho_format.h"

namespace macho {
namespace {

uint64_t wholePages(uint64_t size) {
    return (size + kPage - 1) / kPage * kPage;
}

int systemProtection(uint32_t protection) {
    return ((protection & kReadable) != 0 ? PROT_READ : 0) |
           ((protection & kWritable) != 0 ? PROT_WRITE : 0) |
           ((protection & kRunnable) != 0 ? PROT_EXEC : 0);
}

[[noreturn]] void failWith(const std::string& what) {
    throw LoadError(what + ": " + std::strerror(errno));
}

}  // namespace

SegmentMapping::SegmentMapping(const LoadCommands& commands) : commands_(commands) {
    uint64_t lowest = UINT64_MAX;
    uint64_t highest = 0;
    for (const Segment& segment : commands.segments) {
        if (!segment.isGuard()) {
            lowest = std::min(lowest, segment.address);
            highest = std::max(highest, segment.address + wholePages(segment.memorySize));
        }
    }
    lowest_ = lowest;
    size_ = highest - lowest;
    if (size_ > kLargestImage) {
        throw LoadError("its segments lie too far apart");
    }
    reserve();
    try {
        std::for_each(commands.segments.begin(), commands.segments.end(),
                      [this](const Segment& segment) { fill(segment); });
    } catch (...) {
        munmap(memory_, size_);
        throw;
    }
}

SegmentMapping::~SegmentMapping() {
    munmap(memory_, size_);
}

// Unused space between segments stays without access.
void SegmentMapping::reserve() {
    void* const memory =
        mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        failWith("no memory for its segments");
    }
    memory_ = static_cast<uint8_t*>(memory);
    slide_ = reinterpret_cast<uint64_t>(memory_) - lowest_;
}

// Copied rather than mapped from the file: a file that shrinks meanwhile then faults nowhere.
void SegmentMapping::fill(const Segment& segment) {
    if (segment.isGuard() || segment.memorySize == 0) {
        return;
    }
    uint8_t* const start = at(segment.address);
    if (mprotect(start, wholePages(segment.memorySize), PROT_READ | PROT_WRITE) != 0) {
        failWith("no memory for segment " + segment.name);
    }
    const uint64_t size = segment.contents.size();
    std::memcpy(start, segment.contents.at(0, size), size);
}

uint8_t* SegmentMapping::at(uint64_t address) const {
    return memory_ + (address - lowest_);
}

bool SegmentMapping::covers(uint64_t address, uint64_t size) const {
    const auto inside = [=](const Segment& segment) {
        return !segment.isGuard() && address >= segment.address &&
               address - segment.address <= segment.memorySize &&
               size <= segment.memorySize - (address - segment.address);
    };
    return std::any_of(commands_.segments.begin(), commands_.segments.end(), inside);
}

bool SegmentMapping::holds(const void* address) const {
    const auto* const byte = static_cast<const uint8_t*>(address);
    return byte >= memory_ && byte < memory_ + size_;
}

void SegmentMapping::protect() {
    for (const Segment& segment : commands_.segments) {
        if (segment.isGuard() || segment.memorySize == 0) {
            continue;
        }
        const uint32_t protection =
            segment.readOnlyAfterFixups ? segment.protection & ~kWritable : segment.protection;
        if (mprotect(at(segment.address), wholePages(segment.memorySize),
                     systemProtection(protection)) != 0) {
            failWith("segment " + segment.name + " cannot be protected");
        }
    }
}

}  // namespace macho
