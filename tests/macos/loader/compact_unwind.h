// Reads an image's unwind index (__TEXT,__unwind_info), by which macOS finds a function's frame: a
// two-level table from functions to 32 bits each that say where the frame and the saved registers
// are. This system's unwinder knows DWARF only, so each entry is put into those terms.
#ifndef COMPACT_UNWIND_H
#define COMPACT_UNWIND_H

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "bytes.h"

namespace macho {

// Offsets count from the image's header.
struct UnwindEntry {
    uint64_t start;
    uint64_t end;
    uint32_t encoding;
    std::optional<uint64_t> personalityPointer;
    std::optional<uint64_t> languageData;

    // Where the frame is too involved for an entry, it says which record in __TEXT,__eh_frame
    // tells.
    [[nodiscard]] std::optional<uint64_t> dwarfRecord() const;
    // No unwinding through this code.
    [[nodiscard]] bool isEmpty() const;
};

// Hands out the entries in the order of their functions. Throws LoadError for an index that makes
// no sense.
void forEachUnwindEntry(const Bytes& index, const std::function<void(const UnwindEntry&)>& take);

// DWARF instructions for an entry that needs no record. `code` is the function's, since a large
// frame's size stands in the instruction that makes it. Throws LoadError for an unknown encoding.
std::vector<uint8_t> dwarfInstructions(uint32_t encoding, const Bytes& code);

}  // namespace macho

#endif
