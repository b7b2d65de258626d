#include "synthetic_image.h"

#include <algorithm>
#include <cstring>

#include "macho_format.h"

namespace macho {
namespace {

// Behind the header, and the text of a library's name.
constexpr char kNeededName[8] = "library";
constexpr uint32_t kLibrarySize = sizeof(LibraryCommand) + sizeof(kNeededName);
constexpr uint32_t kCommandsSize =
    2 * sizeof(SegmentCommand) + 2 * kLibrarySize + sizeof(FixupsCommand);

}  // namespace

template <typename Record>
void SyntheticImage::append(Record record) {
    const size_t place = bytes_.size();
    bytes_.resize(place + sizeof(record));
    std::memcpy(&bytes_[place], &record, sizeof(record));
}

void SyntheticImage::appendSegment(const char* name, uint64_t address, uint32_t protection,
                                   uint64_t fileSize) {
    SegmentCommand command = {
        {kSegment, sizeof(command)}, {}, address, 0x1000, 0, fileSize, 7, protection, 0, 0};
    std::memcpy(command.name, name, std::strlen(name));
    append(command);
}

void SyntheticImage::appendLibrary(uint32_t kind) {
    append(LibraryCommand{{kind, kLibrarySize}, sizeof(LibraryCommand), 0, 0, 0});
    bytes_.insert(bytes_.end(), kNeededName, kNeededName + sizeof(kNeededName));
}

uint32_t SyntheticImage::appendList(const std::vector<uint8_t>& list) {
    const auto offset = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), list.begin(), list.end());
    return offset;
}

SyntheticImage::SyntheticImage(const FixupLists& lists) {
    append(Header{kMagic64, kProcessorX86_64, 0, kDynamicLibrary, 5, kCommandsSize, 0, 0});
    appendSegment("__TEXT", 0x1000, kReadable | kRunnable, sizeof(Header));
    appendSegment("__DATA", kDataStart, kReadable | kWritable, 0);
    appendLibrary(kLoadLibrary);
    appendLibrary(kLoadWeakLibrary);
    const size_t fixups = bytes_.size();
    FixupsCommand command = {{kFixupsOnly, sizeof(command)}, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    append(command);
    command.rebaseOffset = appendList(lists.rebases);
    command.rebaseSize = static_cast<uint32_t>(lists.rebases.size());
    command.bindOffset = appendList(lists.binds);
    command.bindSize = static_cast<uint32_t>(lists.binds.size());
    command.weakBindOffset = appendList(lists.weakBinds);
    command.weakBindSize = static_cast<uint32_t>(lists.weakBinds.size());
    command.lazyBindOffset = appendList(lists.lazyBinds);
    command.lazyBindSize = static_cast<uint32_t>(lists.lazyBinds.size());
    std::memcpy(&bytes_[fixups], &command, sizeof(command));
    commands_.emplace(Bytes(bytes_.data(), bytes_.size(), "the file"));
}

}  // namespace macho
