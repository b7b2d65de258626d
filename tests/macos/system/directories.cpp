// Directories: an entry's layout differs. An entry stays good until its thread reads another one.
#include <dirent.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "symbol_table.h"

namespace system_library {
namespace {

struct Entry {
    uint64_t number;
    uint64_t seekOffset;
    uint16_t length;
    uint16_t nameLength;
    uint8_t type;  // the same numbers on both systems
    std::array<char, 1024> name;
};

static_assert(offsetof(Entry, name) == 21);
static_assert(sizeof(Entry) == 1048);

Entry* readEntry(DIR* directory) {
    static thread_local Entry entry;
    const dirent* const native = readdir(directory);
    if (native == nullptr) {
        return nullptr;
    }
    const size_t length = std::min(std::strlen(native->d_name), entry.name.size() - 1);
    entry = Entry{};
    entry.number = native->d_ino;
    entry.seekOffset = static_cast<uint64_t>(native->d_off);
    entry.length = sizeof(Entry);
    entry.nameLength = static_cast<uint16_t>(length);
    entry.type = native->d_type;
    std::memcpy(entry.name.data(), native->d_name, length);
    return &entry;
}

const Registration registration{
    symbol("_opendir$INODE64", opendir),
    symbol("_fdopendir$INODE64", fdopendir),
    symbol("_readdir$INODE64", readEntry),
};

}  // namespace
}  // namespace system_library
