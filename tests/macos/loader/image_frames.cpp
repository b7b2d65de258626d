#include "image_frames.h"

#include <map>
#include <memory>
#include <set>

#include "compact_unwind.h"
#include "eh_frame.h"
#include "frame_table.h"
#include "load_error.h"

namespace macho {
namespace {

class ImageFrames {
  public:
    ImageFrames(const Image& image, FrameTable& table) : image_(image), table_(table) {}

    // As on macOS, the index goes before the DWARF records: it names each function's personality,
    // and of the records only those are needed that it points at, or of functions it leaves out.
    void collect() {
        if (const Section* const index = image_.commands().section("__TEXT", "__unwind_info")) {
            forEachUnwindEntry(image_.contents(*index, "the unwind index"),
                               [this](const UnwindEntry& entry) { takeEntry(entry); });
        }
        if (const Section* const records = image_.commands().section("__TEXT", "__eh_frame")) {
            forEachDwarfRecord(image_.memory(), *records,
                               [this](const DwarfRecord& record) { takeRecord(record); });
        }
    }

  private:
    void takeEntry(const UnwindEntry& entry) {
        if (const auto offset = entry.dwarfRecord()) {
            personalities_[*offset] = personality(entry);
        } else if (!entry.isEmpty()) {
            addEntry(entry);
        }
    }

    void addEntry(const UnwindEntry& entry) {
        const uint64_t base = *image_.commands().headerAddress;
        const uint64_t size = entry.end - entry.start;
        if (!image_.memory().covers(base + entry.start, size)) {
            throw LoadError("the unwind index leaves the image");
        }
        const Bytes code(image_.header() + entry.start, size, "a function's code");
        FrameRules rules;
        rules.personality = personality(entry);
        table_.add(rules, {address(entry.start), size,
                           entry.languageData ? address(*entry.languageData) : 0,
                           dwarfInstructions(entry.encoding, code)});
        described_.insert(address(entry.start));
    }

    void takeRecord(DwarfRecord record) {
        if (described_.count(record.function.start) != 0) {
            return;
        }
        const auto named = personalities_.find(record.offset);
        if (named != personalities_.end() && named->second != 0) {
            record.rules.personality = named->second;
        }
        table_.add(record.rules, record.function);
    }

    [[nodiscard]] uint64_t address(uint64_t offset) const {
        return reinterpret_cast<uint64_t>(image_.header()) + offset;
    }

    [[nodiscard]] uint64_t personality(const UnwindEntry& entry) const {
        if (!entry.personalityPointer) {
            return 0;
        }
        const uint64_t place = *image_.commands().headerAddress + *entry.personalityPointer;
        if (!image_.memory().covers(place, sizeof(uint64_t))) {
            throw LoadError("the unwind index leaves the image");
        }
        return Bytes(image_.memory().at(place), sizeof(uint64_t), "a pointer").read<uint64_t>(0);
    }

    const Image& image_;
    FrameTable& table_;
    std::map<uint64_t, uint64_t> personalities_;  // by the offset of the record
    std::set<uint64_t> described_;
};

}  // namespace

void publishFrames(const Image& image) {
    auto table = std::make_unique<FrameTable>();
    ImageFrames(image, *table).collect();
    if (!table->empty()) {
        // The unwinder keeps the table as long as the process lives.
        table.release()->publish();
    }
}

}  // namespace macho
