#include "compact_unwind.h"

#include <array>
#include <map>
#include <string>

#include "frame_table.h"
#include "load_error.h"

namespace macho {
namespace {

constexpr uint32_t kVersion = 1;
constexpr uint32_t kWidePage = 2;
constexpr uint32_t kPackedPage = 3;
constexpr uint64_t kTopRowSize = 12;
constexpr uint64_t kLanguageRowSize = 8;

constexpr uint32_t kHasLanguageData = 0x40000000;
constexpr uint32_t kPersonalityMask = 0x30000000;
constexpr unsigned kPersonalityShift = 28;
constexpr uint32_t kKindMask = 0x0f000000;
constexpr uint32_t kFramePointer = 0x01000000;
constexpr uint32_t kSmallFrame = 0x02000000;
constexpr uint32_t kLargeFrame = 0x03000000;
constexpr uint32_t kDwarf = 0x04000000;
constexpr uint32_t kDwarfRecordMask = 0x00ffffff;

constexpr uint64_t kSlot = 8;

// Registers by their numbers in DWARF.
enum Register : uint8_t { kRbx = 3, kRbp = 6, kRsp = 7, kR12 = 12, kR13, kR14, kR15, kReturn };

constexpr uint8_t kDefineFrame = 0x0c;      // frame address = register + offset
constexpr uint8_t kSavedAtMultiple = 0x80;  // | register: at frame address - 8 * number

struct IndexHeader {
    uint32_t version;
    uint32_t commonOffset, commonCount;
    uint32_t personalityOffset, personalityCount;
    uint32_t topOffset, topCount;
};

struct TopRow {
    uint32_t function;
    uint32_t page;  // 0: no page; the last row only ends the row before
    uint32_t languageRows;
};

class UnwindIndex {
  public:
    UnwindIndex(const Bytes& bytes, const std::function<void(const UnwindEntry&)>& take)
        : bytes_(bytes), header_(bytes.read<IndexHeader>(0)), take_(take) {}

    void run() {
        if (header_.version != kVersion) {
            throw LoadError("the unwind index has an unknown version");
        }
        if (header_.topCount == 0) {
            return;
        }
        readLanguageRows();
        for (uint32_t i = 0; i + 1 < header_.topCount; ++i) {
            readPage(topRow(i), topRow(i + 1).function);
        }
    }

  private:
    [[nodiscard]] TopRow topRow(uint64_t i) const {
        return bytes_.read<TopRow>(header_.topOffset + i * kTopRowSize);
    }

    // The rows of all pages lie one behind the other.
    void readLanguageRows() {
        const uint64_t begin = topRow(0).languageRows;
        const uint64_t end = topRow(header_.topCount - 1).languageRows;
        for (uint64_t row = begin; row + kLanguageRowSize <= end; row += kLanguageRowSize) {
            languageData_[bytes_.read<uint32_t>(row)] = bytes_.read<uint32_t>(row + 4);
        }
    }

    void readPage(const TopRow& row, uint64_t end) {
        if (row.page == 0) {
            return;
        }
        switch (bytes_.read<uint32_t>(row.page)) {
            case kWidePage:
                return readWidePage(row.page, end);
            case kPackedPage:
                return readPackedPage(row, end);
            default:
                throw LoadError("the unwind index has a page of an unknown kind");
        }
    }

    // Rows of {function, encoding}.
    void readWidePage(uint64_t page, uint64_t end) {
        const uint64_t rows = page + bytes_.read<uint16_t>(page + 4);
        const auto count = bytes_.read<uint16_t>(page + 6);
        for (uint64_t i = 0; i < count; ++i) {
            const auto start = bytes_.read<uint32_t>(rows + i * 8);
            const uint64_t next = i + 1 < count ? bytes_.read<uint32_t>(rows + i * 8 + 8) : end;
            give(start, next, bytes_.read<uint32_t>(rows + i * 8 + 4));
        }
    }

    // Rows of 32 bits: a distance from the page's first function, and the number of an encoding.
    void readPackedPage(const TopRow& row, uint64_t end) {
        constexpr uint32_t kDistanceMask = 0x00ffffff;
        constexpr unsigned kNumberShift = 24;
        const uint64_t rows = row.page + bytes_.read<uint16_t>(row.page + 4);
        const auto count = bytes_.read<uint16_t>(row.page + 6);
        const uint64_t ownEncodings = row.page + bytes_.read<uint16_t>(row.page + 8);
        for (uint64_t i = 0; i < count; ++i) {
            const auto packed = bytes_.read<uint32_t>(rows + i * 4);
            const uint64_t next =
                i + 1 < count
                    ? row.function + (bytes_.read<uint32_t>(rows + i * 4 + 4) & kDistanceMask)
                    : end;
            give(row.function + (packed & kDistanceMask), next,
                 encodingByNumber(packed >> kNumberShift, ownEncodings));
        }
    }

    // The first numbers are the whole index's encodings, the others the page's own.
    [[nodiscard]] uint32_t encodingByNumber(uint64_t number, uint64_t ownEncodings) const {
        return number < header_.commonCount
                   ? bytes_.read<uint32_t>(header_.commonOffset + number * 4)
                   : bytes_.read<uint32_t>(ownEncodings + (number - header_.commonCount) * 4);
    }

    void give(uint64_t start, uint64_t end, uint32_t encoding) {
        if (end < start) {
            throw LoadError("the unwind index is not sorted");
        }
        UnwindEntry entry{start, end, encoding, {}, {}};
        const uint64_t personality = (encoding & kPersonalityMask) >> kPersonalityShift;
        if (personality != 0) {
            entry.personalityPointer =
                bytes_.read<uint32_t>(header_.personalityOffset + (personality - 1) * 4);
        }
        const auto data = languageData_.find(start);
        if ((encoding & kHasLanguageData) != 0 && data != languageData_.end()) {
            entry.languageData = data->second;
        }
        take_(entry);
    }

    const Bytes& bytes_;
    const IndexHeader header_;
    const std::function<void(const UnwindEntry&)>& take_;
    std::map<uint64_t, uint64_t> languageData_;
};

void defineFrame(std::vector<uint8_t>& out, Register base, uint64_t size) {
    out.push_back(kDefineFrame);
    appendUnsigned(out, base);
    appendUnsigned(out, size);
}

void savedBelowFrame(std::vector<uint8_t>& out, uint8_t which, uint64_t slots) {
    out.push_back(kSavedAtMultiple | which);
    appendUnsigned(out, slots);
}

// The frame pointer points at its caller's, which lies below the return address. Up to five
// registers were saved, one above the other, from `offset` slots below the frame pointer.
std::vector<uint8_t> throughFramePointer(uint32_t encoding) {
    constexpr std::array<uint8_t, 6> kRegisters = {0, kRbx, kR12, kR13, kR14, kR15};
    std::vector<uint8_t> out;
    defineFrame(out, kRbp, 2 * kSlot);
    savedBelowFrame(out, kReturn, 1);
    savedBelowFrame(out, kRbp, 2);
    uint64_t slots = ((encoding >> 16) & 0xff) + 2;
    for (uint32_t left = encoding & 0x7fff; left != 0; left >>= 3, --slots) {
        const uint32_t which = left & 7;
        if (which >= kRegisters.size() || slots < 3) {
            throw LoadError("the unwind index names a register that is never saved");
        }
        if (which != 0) {
            savedBelowFrame(out, kRegisters[which], slots);
        }
    }
    return out;
}

// Which registers were saved, and in which order, is one number: of the ways to draw `count` out of
// six, the how-manieth. Its digits, each in a base smaller by one than the one before, say which of
// those that are left was drawn.
std::vector<uint8_t> savedRegisters(uint32_t permutation, uint32_t count) {
    std::vector<uint8_t> left = {kRbx, kR12, kR13, kR14, kR15, kRbp};
    uint32_t weight = 1;
    for (uint32_t i = 1; i < count; ++i) {
        weight *= 6 - i;
    }
    std::vector<uint8_t> saved;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t drawn = permutation / weight;
        if (drawn >= left.size()) {
            throw LoadError("the unwind index names a register that is never saved");
        }
        permutation %= weight;
        saved.push_back(left[drawn]);
        left.erase(left.begin() + drawn);
        weight /= i + 1 < count ? 5 - i : 1;
    }
    return saved;
}

uint64_t frameSize(uint32_t encoding, const Bytes& code) {
    const uint64_t field = (encoding >> 16) & 0xff;
    if ((encoding & kKindMask) == kSmallFrame) {
        return field * kSlot;
    }
    const uint64_t adjustment = (encoding >> 13) & 0x7;
    return code.read<uint32_t>(field) + adjustment * kSlot;
}

// No frame pointer, but a stack pointer that stays where it is after the function's beginning.
std::vector<uint8_t> throughStackPointer(uint32_t encoding, const Bytes& code) {
    constexpr uint32_t kMostSaved = 6;
    const uint32_t count = (encoding >> 10) & 0x7;
    if (count > kMostSaved) {
        throw LoadError("the unwind index names a register that is never saved");
    }
    std::vector<uint8_t> out;
    defineFrame(out, kRsp, frameSize(encoding, code));
    savedBelowFrame(out, kReturn, 1);
    uint64_t slots = count + 1;
    for (const uint8_t which : savedRegisters(encoding & 0x3ff, count)) {
        savedBelowFrame(out, which, slots--);
    }
    return out;
}

}  // namespace

std::optional<uint64_t> UnwindEntry::dwarfRecord() const {
    return (encoding & kKindMask) == kDwarf ? std::optional(uint64_t{encoding & kDwarfRecordMask})
                                            : std::nullopt;
}

bool UnwindEntry::isEmpty() const {
    return (encoding & kKindMask) == 0 || start == end;
}

void forEachUnwindEntry(const Bytes& index, const std::function<void(const UnwindEntry&)>& take) {
    UnwindIndex(index, take).run();
}

std::vector<uint8_t> dwarfInstructions(uint32_t encoding, const Bytes& code) {
    switch (encoding & kKindMask) {
        case kFramePointer:
            return throughFramePointer(encoding);
        case kSmallFrame:
        case kLargeFrame:
            return throughStackPointer(encoding, code);
        default:
            throw LoadError("the unwind index has an entry of an unknown kind");
    }
}

}  // namespace macho
