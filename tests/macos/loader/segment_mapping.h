// An image's segments in memory: one reservation that keeps their distances, at an address that the
// system chooses. Writable until protect() is called, for the fixups; never writable and executable
// at once. Not thread-safe; the memory goes with the object.
#ifndef SEGMENT_MAPPING_H
#define SEGMENT_MAPPING_H

#include <cstdint>

#include "load_commands.h"

namespace macho {

class SegmentMapping {
  public:
    // Throws LoadError when the system gives no memory.
    explicit SegmentMapping(const LoadCommands& commands);
    ~SegmentMapping();
    SegmentMapping(const SegmentMapping&) = delete;
    SegmentMapping& operator=(const SegmentMapping&) = delete;

    // What is added to an address that the image was linked for. Wraps.
    [[nodiscard]] uint64_t slide() const { return slide_; }
    // Where an address that the image was linked for lies.
    [[nodiscard]] uint8_t* at(uint64_t address) const;
    // Whether the stretch of addresses that the image was linked for lies in its memory.
    [[nodiscard]] bool covers(uint64_t address, uint64_t size) const;
    // Whether this process's address lies in the image.
    [[nodiscard]] bool holds(const void* address) const;

    // Gives every segment the protection that it asks for.
    void protect();

  private:
    void reserve();
    void fill(const Segment& segment);

    const LoadCommands& commands_;
    uint64_t lowest_ = 0;
    uint64_t size_ = 0;
    uint8_t* memory_ = nullptr;
    uint64_t slide_ = 0;
};

}  // namespace macho

#endif
