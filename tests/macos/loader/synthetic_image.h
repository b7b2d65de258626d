// The load commands of an image that a test makes up: code at 0x1000, a writable page at 0x2000,
// two libraries that it needs, and lists of fixups.
#ifndef SYNTHETIC_IMAGE_H
#define SYNTHETIC_IMAGE_H

#include <cstdint>
#include <optional>
#include <vector>

#include "load_commands.h"

namespace macho {

struct FixupLists {
    std::vector<uint8_t> rebases, binds, weakBinds, lazyBinds;
};

class SyntheticImage {
  public:
    explicit SyntheticImage(const FixupLists& lists);
    SyntheticImage(const SyntheticImage&) = delete;
    SyntheticImage& operator=(const SyntheticImage&) = delete;

    [[nodiscard]] const LoadCommands& commands() const { return *commands_; }

    static constexpr uint64_t kDataStart = 0x2000;
    static constexpr uint64_t kDataEnd = 0x3000;

  private:
    template <typename Record>
    void append(Record record);
    void appendSegment(const char* name, uint64_t address, uint32_t protection, uint64_t fileSize);
    void appendLibrary(uint32_t kind);
    uint32_t appendList(const std::vector<uint8_t>& list);

    std::vector<uint8_t> bytes_;
    std::optional<LoadCommands> commands_;
};

}  // namespace macho

#endif
