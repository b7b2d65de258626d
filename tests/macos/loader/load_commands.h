// What an image's load commands say, checked against the file: every stretch that is handed out
// lies inside it.
#ifndef LOAD_COMMANDS_H
#define LOAD_COMMANDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bytes.h"

namespace macho {

// Protections go by pages of this size on both systems.
inline constexpr uint64_t kPage = 4096;
// Code reaches its data by distances of 32 bits, so no image is larger.
inline constexpr uint64_t kLargestImage = uint64_t{4} << 30;

struct Section {
    std::string name;
    uint64_t address;
    uint64_t size;
    uint32_t kind;
    uint64_t alignment;  // in bytes
};

// Addresses are the ones that the image was linked for; where it lies is the mapping's affair.
struct Segment {
    std::string name;
    uint64_t address;
    uint64_t memorySize;
    Bytes contents;  // not longer than memorySize; the rest is zero
    uint32_t protection;
    bool readOnlyAfterFixups;
    std::vector<Section> sections;

    // The gap at the bottom of a program that makes null pointers fault: nothing to map.
    [[nodiscard]] bool isGuard() const { return protection == 0 && contents.size() == 0; }
};

struct Dependency {
    std::string name;
    bool mayBeMissing;
    bool reexported;  // its symbols are to be found here as well
};

struct LoadCommands {
    // Throws LoadError for what is cut off, contradicts itself, or cannot be carried out.
    explicit LoadCommands(const Bytes& image);

    uint32_t fileType;
    std::string installName;  // of a library: what those that need it call it
    std::vector<Segment> segments;
    std::optional<uint64_t> headerAddress;  // always set; offsets in the image count from it
    std::vector<Dependency> dependencies;
    std::vector<std::string> runPaths;
    std::optional<uint64_t> entryOffset;  // of a program: from the header
    Bytes rebases, binds, weakBinds, lazyBinds, exports;
    Bytes symbols, symbolTexts;

    // Null when the image has no such section.
    [[nodiscard]] const Section* section(std::string_view segment, std::string_view name) const;

  private:
    void take(const Bytes& image, const Bytes& command, uint32_t kind);
    void takeSegment(const Bytes& image, const Bytes& command);
    void takeSection(Segment& segment, const Bytes& record);
    void takeFixups(const Bytes& image, const Bytes& command);
    void takeSymbols(const Bytes& image, const Bytes& command);
    void check() const;

    bool hasFixups_ = false;
};

}  // namespace macho

#endif
