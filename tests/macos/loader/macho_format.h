// The parts of the Mach-O file format that the loader reads: 64-bit, little-endian, for x86-64.
// A file is a header, a list of load commands behind it, and what the commands point at.
#ifndef MACHO_FORMAT_H
#define MACHO_FORMAT_H

#include <cstdint>

namespace macho {

inline constexpr uint32_t kMagic64 = 0xfeedfacf;
inline constexpr uint32_t kMagic32 = 0xfeedface;
// Universal files hold one image per processor; their own header is big-endian.
inline constexpr uint32_t kUniversalMagic = 0xcafebabe;
inline constexpr uint32_t kUniversalMagic64 = 0xcafebabf;
inline constexpr uint32_t kProcessorX86_64 = 0x01000007;

inline constexpr uint32_t kExecutable = 2;
inline constexpr uint32_t kDynamicLibrary = 6;
inline constexpr uint32_t kBundle = 8;
inline constexpr uint32_t kPositionIndependent = 0x200000;

struct Header {
    uint32_t magic;
    uint32_t processor;
    uint32_t processorVariant;
    uint32_t fileType;
    uint32_t commandCount;
    uint32_t commandsSize;
    uint32_t flags;
    uint32_t reserved;
};
static_assert(sizeof(Header) == 32);

// A loader that does not know a command with this bit must not load the image.
inline constexpr uint32_t kRequiredCommand = 0x80000000;

enum Command : uint32_t {
    kSymbolTable = 0x2,
    kThreadEntry = 0x5,
    kLoadLibrary = 0xc,
    kLibraryName = 0xd,
    kSegment = 0x19,
    kLoadWeakLibrary = 0x18 | kRequiredCommand,
    kRunPath = 0x1c | kRequiredCommand,
    kReexportLibrary = 0x1f | kRequiredCommand,
    kFixups = 0x22,
    kFixupsOnly = 0x22 | kRequiredCommand,
    kMain = 0x28 | kRequiredCommand,
    kExportTrieOnly = 0x33 | kRequiredCommand,
    kChainedFixups = 0x34 | kRequiredCommand,
};

struct CommandHeader {
    uint32_t command;
    uint32_t size;
};

struct SegmentCommand {
    CommandHeader header;
    char name[16];
    uint64_t address;
    uint64_t memorySize;
    uint64_t fileOffset;
    uint64_t fileSize;
    uint32_t highestProtection;
    uint32_t protection;
    uint32_t sectionCount;
    uint32_t flags;
};
static_assert(sizeof(SegmentCommand) == 72);

inline constexpr uint32_t kReadable = 1;
inline constexpr uint32_t kWritable = 2;
inline constexpr uint32_t kRunnable = 4;
// Written by fixups only.
inline constexpr uint32_t kReadOnlyAfterFixups = 0x10;

struct SectionRecord {
    char name[16];
    char segment[16];
    uint64_t address;
    uint64_t size;
    uint32_t fileOffset;
    uint32_t alignment;  // as a power of two
    uint32_t relocationOffset;
    uint32_t relocationCount;
    uint32_t flags;  // the lowest byte is the kind
    uint32_t reserved[3];
};
static_assert(sizeof(SectionRecord) == 80);

enum SectionKind : uint32_t {
    kInitialiserPointers = 0x9,
    kThreadContents = 0x11,
    kThreadZeroed = 0x12,
    kThreadDescriptors = 0x13,
    kInitialiserOffsets = 0x16,
};

struct LibraryCommand {
    CommandHeader header;
    uint32_t nameOffset;
    uint32_t timestamp;
    uint32_t version;
    uint32_t compatibleVersion;
};

struct RunPathCommand {
    CommandHeader header;
    uint32_t pathOffset;
};

struct MainCommand {
    CommandHeader header;
    uint64_t entryOffset;  // from the image's header
    uint64_t stackSize;
};
static_assert(sizeof(MainCommand) == 24);

// Five programs for five small machines; what each is for stands where it is run.
struct FixupsCommand {
    CommandHeader header;
    uint32_t rebaseOffset, rebaseSize;
    uint32_t bindOffset, bindSize;
    uint32_t weakBindOffset, weakBindSize;
    uint32_t lazyBindOffset, lazyBindSize;
    uint32_t exportOffset, exportSize;
};
static_assert(sizeof(FixupsCommand) == 48);

struct SymbolTableCommand {
    CommandHeader header;
    uint32_t symbolOffset;
    uint32_t symbolCount;
    uint32_t textOffset;
    uint32_t textSize;
};

struct SymbolRecord {
    uint32_t textIndex;
    uint8_t type;
    uint8_t section;
    uint16_t description;
    uint64_t value;
};
static_assert(sizeof(SymbolRecord) == 16);

inline constexpr uint8_t kSymbolIsForDebugger = 0xe0;
inline constexpr uint8_t kSymbolTypeMask = 0x0e;
inline constexpr uint8_t kSymbolInSection = 0x0e;

// A variable of its own in every thread. The code that uses one calls `thunk` with the descriptor's
// address and gets the variable's.
struct ThreadVariableDescriptor {
    void* thunk;
    uint64_t key;
    uint64_t offset;  // in the image's thread-local contents
};
static_assert(sizeof(ThreadVariableDescriptor) == 24);

}  // namespace macho

#endif
