#include "eh_frame.h"

#include <string>
#include <string_view>

#include "bytes.h"
#include "load_error.h"

namespace macho {
namespace {

constexpr char kName[] = "the call frame section";
constexpr uint8_t kOmitted = 0xff;
constexpr uint8_t kThroughPointer = 0x80;
constexpr uint8_t kBaseMask = 0x70;
constexpr uint8_t kFormatMask = 0x0f;
constexpr uint8_t kFromHere = 0x10;
constexpr uint32_t kWideLength = 0xffffffff;

[[noreturn]] void refuse(const char* what) {
    throw LoadError(std::string(kName) + " " + what);
}

uint64_t rawValue(ByteReader& reader, uint8_t format) {
    switch (format & kFormatMask) {
        case 0x0:  // an address's width
        case 0x4:
        case 0xc:
            return reader.next<uint64_t>();
        case 0x3:
            return reader.next<uint32_t>();
        case 0xb:
            return static_cast<uint64_t>(int64_t{reader.next<int32_t>()});
        default:
            refuse("has an address in a form that is not known");
    }
}

std::vector<uint8_t> rest(ByteReader& reader) {
    const uint8_t* const start = reader.bytes().at(reader.offset(), reader.left());
    return {start, start + reader.left()};
}

struct CommonRecord {
    FrameRules rules;
    uint8_t personalityForm = kOmitted;
    uint64_t personalityPlace = 0;  // where an address that cannot be read yet stands
    uint8_t languageForm = kOmitted;
    uint8_t addressForm = 0;
    bool hasData = false;
};

class DwarfSection {
  public:
    DwarfSection(const SegmentMapping& memory, const Section& section)
        : memory_(memory),
          start_(memory.at(section.address)),
          bytes_(start_, section.size, kName) {}

    void run(const std::function<void(const DwarfRecord&)>& take) const {
        for (uint64_t offset = 0; offset < bytes_.size();) {
            const auto length = bytes_.read<uint32_t>(offset);
            if (length == 0) {
                return;
            }
            const auto link = bytes_.read<uint32_t>(offset + 4);
            if (link != 0) {
                take(functionAt(offset, link));
            }
            offset += sizeof(uint32_t) + length;
        }
    }

  private:
    // A reader of one record, after its length and its link. It keeps the section's offsets.
    [[nodiscard]] ByteReader recordAt(uint64_t offset) const {
        const auto length = bytes_.read<uint32_t>(offset);
        if (length == kWideLength || length < sizeof(uint32_t)) {
            refuse("has a record of a size that is not known");
        }
        const uint64_t end = offset + sizeof(uint32_t) + length;
        return ByteReader(bytes_.part(0, end, kName), offset + 2 * sizeof(uint32_t));
    }

    [[nodiscard]] uint64_t address(ByteReader& reader, uint8_t form) const {
        if (form == kOmitted) {
            return 0;
        }
        const uint64_t here = reinterpret_cast<uint64_t>(start_) + reader.offset();
        const uint64_t value = rawValue(reader, form);
        if ((form & kBaseMask) != 0 && (form & kBaseMask) != kFromHere) {
            refuse("has an address in a form that is not known");
        }
        const uint64_t plain = (form & kBaseMask) == kFromHere ? here + value : value;
        return (form & kThroughPointer) != 0 && value != 0 ? pointerAt(plain) : plain;
    }

    [[nodiscard]] uint64_t pointerAt(uint64_t place) const {
        const auto* const pointer = reinterpret_cast<const uint8_t*>(place);
        if (!memory_.covers(place - memory_.slide(), sizeof(uint64_t))) {
            refuse("leaves the image");
        }
        return Bytes(pointer, sizeof(uint64_t), kName).read<uint64_t>(0);
    }

    [[nodiscard]] CommonRecord commonAt(uint64_t offset) const {
        if (bytes_.read<uint32_t>(offset + 4) != 0) {
            refuse("has a function whose record links to another function's");
        }
        ByteReader reader = recordAt(offset);
        CommonRecord common;
        if (reader.next<uint8_t>() != 1) {
            refuse("has a record of an unknown version");
        }
        const std::string_view letters = reader.text();
        common.rules.codeAlignment = reader.unsignedNumber();
        common.rules.dataAlignment = reader.signedNumber();
        common.rules.returnRegister = reader.next<uint8_t>();
        readData(reader, letters, common);
        common.rules.instructions = rest(reader);
        return common;
    }

    void readData(ByteReader& reader, std::string_view letters, CommonRecord& common) const {
        if (letters.empty()) {
            return;
        }
        for (const char letter : letters) {
            switch (letter) {
                case 'z':
                    common.hasData = true;
                    (void)reader.unsignedNumber();
                    break;
                case 'P':
                    common.personalityForm = reader.next<uint8_t>();
                    common.rules.personality = address(reader, common.personalityForm);
                    break;
                case 'L':
                    common.languageForm = reader.next<uint8_t>();
                    break;
                case 'R':
                    common.addressForm = reader.next<uint8_t>();
                    break;
                default:
                    refuse("has a record with data of an unknown kind");
            }
        }
    }

    [[nodiscard]] DwarfRecord functionAt(uint64_t offset, uint64_t link) const {
        if (link > offset + sizeof(uint32_t)) {
            refuse("has a link to before its start");
        }
        const CommonRecord common = commonAt(offset + sizeof(uint32_t) - link);
        ByteReader reader = recordAt(offset);
        DwarfRecord record{offset, common.rules, {}};
        record.function.start = address(reader, common.addressForm);
        record.function.size = rawValue(reader, common.addressForm);
        if (common.hasData) {
            const uint64_t dataSize = reader.unsignedNumber();
            const uint64_t dataEnd = reader.offset() + dataSize;
            record.function.languageData = languageData(reader, common.languageForm);
            reader = ByteReader(reader.bytes(), dataEnd);
        }
        record.function.instructions = rest(reader);
        return record;
    }

    // Relative to itself, but zero is none at all.
    [[nodiscard]] uint64_t languageData(ByteReader reader, uint8_t form) const {
        ByteReader raw = reader;
        if (form == kOmitted || rawValue(raw, form) == 0) {
            return 0;
        }
        return address(reader, form);
    }

    const SegmentMapping& memory_;
    const uint8_t* start_;
    Bytes bytes_;
};

}  // namespace

void forEachDwarfRecord(const SegmentMapping& memory, const Section& section,
                        const std::function<void(const DwarfRecord&)>& take) {
    DwarfSection(memory, section).run(take);
}

}  // namespace macho
