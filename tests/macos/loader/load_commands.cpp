#include "load_commands.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "load_error.h"
#include "macho_format.h"

namespace macho {
namespace {

constexpr uint32_t kLargestAlignment = 16;  // as a power of two

std::string fixedName(const char (&name)[16]) {
    return {name, strnlen(name, sizeof(name))};
}

std::string textOf(const Bytes& command, uint32_t offset) {
    return std::string(command.text(offset));
}

bool leavesAddressSpace(uint64_t address, uint64_t size) {
    return address + size < address;
}

[[noreturn]] void refuseCommand(uint32_t kind) {
    std::ostringstream message;
    message << "load command 0x" << std::hex << kind << " is not known, but required";
    throw LoadError(message.str());
}

void checkMemory(const Segment& segment) {
    if (segment.contents.size() > segment.memorySize) {
        throw LoadError("segment " + segment.name + " is larger in the file than in memory");
    }
    if (leavesAddressSpace(segment.address, segment.memorySize + kPage) ||
        segment.memorySize + kPage < kPage) {
        throw LoadError("segment " + segment.name + " leaves the address space");
    }
    if ((segment.protection & ~(kReadable | kWritable | kRunnable)) != 0) {
        throw LoadError("segment " + segment.name + " asks for a protection that is not known");
    }
    if (segment.isGuard()) {
        return;
    }
    if (segment.address % kPage != 0) {
        throw LoadError("segment " + segment.name + " does not begin with a page");
    }
    if (segment.memorySize > kLargestImage) {
        throw LoadError("segment " + segment.name + " is larger than an image can be");
    }
    if ((segment.protection & kWritable) != 0 && (segment.protection & kRunnable) != 0) {
        throw LoadError("segment " + segment.name + " asks to be writable and executable at once");
    }
}

// Protections go by pages, so two segments may not share one.
void checkApart(const std::vector<Segment>& segments) {
    std::vector<const Segment*> mapped;
    for (const Segment& segment : segments) {
        if (!segment.isGuard() && segment.memorySize != 0) {
            mapped.push_back(&segment);
        }
    }
    std::sort(mapped.begin(), mapped.end(),
              [](const auto* left, const auto* right) { return left->address < right->address; });
    for (size_t i = 1; i < mapped.size(); ++i) {
        const Segment& before = *mapped[i - 1];
        const uint64_t end = (before.address + before.memorySize + kPage - 1) / kPage * kPage;
        if (end > mapped[i]->address) {
            throw LoadError("segments " + before.name + " and " + mapped[i]->name + " overlap");
        }
    }
}

}  // namespace

LoadCommands::LoadCommands(const Bytes& image) {
    const auto header = image.read<Header>(0);
    fileType = header.fileType;
    if (fileType != kExecutable && fileType != kDynamicLibrary && fileType != kBundle) {
        throw LoadError("it is neither a program nor a library");
    }
    if (fileType == kExecutable && (header.flags & kPositionIndependent) == 0) {
        throw LoadError("the program is not position-independent");
    }
    const Bytes commands = image.part(sizeof(Header), header.commandsSize, "the load commands");
    uint64_t offset = 0;
    for (uint32_t i = 0; i < header.commandCount; ++i) {
        const auto command = commands.read<CommandHeader>(offset);
        if (command.size < sizeof(CommandHeader)) {
            throw LoadError("a load command is smaller than its own header");
        }
        take(image, commands.part(offset, command.size, "a load command"), command.command);
        offset += command.size;
    }
    check();
}

void LoadCommands::take(const Bytes& image, const Bytes& command, uint32_t kind) {
    switch (kind) {
        case kSegment:
            return takeSegment(image, command);
        case kFixups:
        case kFixupsOnly:
            return takeFixups(image, command);
        case kSymbolTable:
            return takeSymbols(image, command);
        case kLibraryName:
            installName = textOf(command, command.read<LibraryCommand>(0).nameOffset);
            return;
        case kLoadLibrary:
        case kLoadWeakLibrary:
        case kReexportLibrary:
            dependencies.push_back({textOf(command, command.read<LibraryCommand>(0).nameOffset),
                                    kind == kLoadWeakLibrary, kind == kReexportLibrary});
            return;
        case kRunPath:
            runPaths.push_back(textOf(command, command.read<RunPathCommand>(0).pathOffset));
            return;
        case kMain:
            entryOffset = command.read<MainCommand>(0).entryOffset;
            return;
        case kChainedFixups:
        case kExportTrieOnly:
            throw LoadError("its fixups are chained, which this loader does not read");
        case kThreadEntry:
            throw LoadError("it starts without the system's libraries (LC_UNIXTHREAD)");
        default:
            if ((kind & kRequiredCommand) != 0) {
                refuseCommand(kind);
            }
    }
}

void LoadCommands::takeSegment(const Bytes& image, const Bytes& command) {
    const auto record = command.read<SegmentCommand>(0);
    Segment segment{
        fixedName(record.name),
        record.address,
        record.memorySize,
        image.part(record.fileOffset, record.fileSize, "a segment"),
        record.protection,
        (record.flags & kReadOnlyAfterFixups) != 0 || fixedName(record.name) == "__DATA_CONST",
        {}};
    checkMemory(segment);
    for (uint64_t i = 0; i < record.sectionCount; ++i) {
        takeSection(segment, command.part(sizeof(SegmentCommand) + i * sizeof(SectionRecord),
                                          sizeof(SectionRecord), "a section's record"));
    }
    if (record.fileOffset == 0 && record.fileSize >= sizeof(Header)) {
        headerAddress = record.address;
    }
    segments.push_back(std::move(segment));
}

void LoadCommands::takeSection(Segment& segment, const Bytes& bytes) {
    const auto record = bytes.read<SectionRecord>(0);
    const std::string name = fixedName(record.name);
    const uint64_t end = segment.address + segment.memorySize;
    if (record.address < segment.address || record.address > end ||
        record.size > end - record.address) {
        throw LoadError("section " + name + " lies outside its segment " + segment.name);
    }
    if (record.alignment > kLargestAlignment) {
        throw LoadError("section " + name + " has an alignment beyond all use");
    }
    segment.sections.push_back(
        {name, record.address, record.size, record.flags & 0xff, uint64_t{1} << record.alignment});
}

void LoadCommands::takeFixups(const Bytes& image, const Bytes& command) {
    const auto record = command.read<FixupsCommand>(0);
    hasFixups_ = true;
    rebases = image.part(record.rebaseOffset, record.rebaseSize, "the list of rebases");
    binds = image.part(record.bindOffset, record.bindSize, "the list of binds");
    weakBinds = image.part(record.weakBindOffset, record.weakBindSize, "the list of weak binds");
    lazyBinds = image.part(record.lazyBindOffset, record.lazyBindSize, "the list of lazy binds");
    exports = image.part(record.exportOffset, record.exportSize, "the list of exports");
}

void LoadCommands::takeSymbols(const Bytes& image, const Bytes& command) {
    const auto record = command.read<SymbolTableCommand>(0);
    symbols = image.part(record.symbolOffset, record.symbolCount * sizeof(SymbolRecord),
                         "the symbol table");
    symbolTexts = image.part(record.textOffset, record.textSize, "the names of symbols");
}

void LoadCommands::check() const {
    checkApart(segments);
    if (!headerAddress) {
        throw LoadError("no segment holds the header");
    }
    // Very old images have relocations instead.
    if (!hasFixups_) {
        throw LoadError("it has no lists of fixups");
    }
}

const Section* LoadCommands::section(std::string_view segment, std::string_view name) const {
    for (const Segment& each : segments) {
        for (const Section& candidate : each.sections) {
            if (each.name == segment && candidate.name == name) {
                return &candidate;
            }
        }
    }
    return nullptr;
}

}  // namespace macho
