// Reads an image's DWARF call frame records (__TEXT,__eh_frame) where they lie in memory, with
// their relative addresses made plain.
#ifndef EH_FRAME_H
#define EH_FRAME_H

#include <cstdint>
#include <functional>

#include "frame_table.h"
#include "segment_mapping.h"

namespace macho {

struct DwarfRecord {
    uint64_t offset;  // in the section
    FrameRules rules;
    FunctionFrame function;
};

// Hands out the records of all functions. Call after the image's fixups, since personalities are
// reached through pointers. Throws LoadError for records that make no sense.
void forEachDwarfRecord(const SegmentMapping& memory, const Section& section,
                        const std::function<void(const DwarfRecord&)>& take);

}  // namespace macho

#endif
