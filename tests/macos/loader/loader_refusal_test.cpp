#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "image_patch.h"
#include "loaded_program.h"
#include "macho_format.h"

namespace {

using macho::ImagePatch;
using testing::HasSubstr;

constexpr char kSound[] = "greeting 3\nspare 4\n";

class RefusedProgram : public LoadedProgram {};

TEST_F(RefusedProgram, IsToldWhichImportNobodyProvides) {
    take("none/libgreeting.dylib");
    const ChildResult result = run({"greeting_program"});
    expectRefused(result, "/greeting_program: ");
    EXPECT_THAT(result.errors, HasSubstr(" _greetingNumber,"));
    EXPECT_THAT(result.errors, HasSubstr(" @rpath/libgreeting.dylib\n"));
}

TEST_F(RefusedProgram, IsToldWhichLibraryIsMissingAndWhereItWasLookedFor) {
    std::filesystem::remove(copied("libgreeting.dylib"));
    const ChildResult result = run({"greeting_program"});
    expectRefused(result, "it needs @rpath/libgreeting.dylib");
    EXPECT_THAT(result.errors, HasSubstr(copied("libgreeting.dylib").string() + "\n"));
}

TEST_F(RefusedProgram, IsNotThere) {
    expectRefused(run({"absent_program"}), "absent_program: it cannot be opened");
}

TEST_F(RefusedProgram, IsAFolder) {
    expectRefused(run({"."}), "it is a directory");
}

TEST_F(RefusedProgram, IsALibrary) {
    expectRefused(run({"libgreeting.dylib"}), "it is not a program");
}

struct Damage {
    const char* name;
    std::function<void(ImagePatch&)> inflict;
    const char* reason;
};

// Offsets in a segment's command: of its protection, and of its address in memory.
constexpr size_t kProtection = offsetof(macho::SegmentCommand, protection);
constexpr size_t kAddress = offsetof(macho::SegmentCommand, address);

const Damage kDamages[] = {
    {"NoMachO", [](ImagePatch& file) { file.set<uint32_t>(0, 0x12345678); }, "not a Mach-O file"},
    {"For32Bits", [](ImagePatch& file) { file.set<uint32_t>(0, macho::kMagic32); }, "32-bit"},
    {"ForAnotherProcessor", [](ImagePatch& file) { file.set<uint32_t>(4, 0x0100000c); },
     "another processor"},
    {"AnObjectFile", [](ImagePatch& file) { file.set<uint32_t>(12, 1); },
     "neither a program nor a library"},
    {"WritableCode",
     [](ImagePatch& file) { file.set<uint32_t>(file.segment("__TEXT") + kProtection, 7); },
     "segment __TEXT asks to be writable and executable"},
    {"ExecutableData",
     [](ImagePatch& file) { file.set<uint32_t>(file.segment("__DATA") + kProtection, 6); },
     "segment __DATA asks to be writable and executable"},
    {"OverlappingSegments",
     [](ImagePatch& file) {
         const auto text = file.get<uint64_t>(file.segment("__TEXT") + kAddress);
         const size_t data = file.segment("__LINKEDIT");
         file.set<uint64_t>(data + kAddress, text);
     },
     "overlap"},
    {"ChainedFixups",
     [](ImagePatch& file) {
         file.set<uint32_t>(file.command(macho::kFixupsOnly), macho::kChainedFixups);
     },
     "fixups are chained"},
    {"AnUnknownCommandThatIsRequired",
     [](ImagePatch& file) {
         file.set<uint32_t>(file.commands().back().offset, 0x777 | macho::kRequiredCommand);
     },
     "load command 0x80000777"},
};

class DamagedLibrary : public LoadedProgram, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedLibrary, IsRefusedByName) {
    ImagePatch library(copied("libgreeting.dylib"));
    GetParam().inflict(library);
    library.save(copied("libgreeting.dylib"));
    const ChildResult result = run({"greeting_program"});
    expectRefused(result, GetParam().reason);
    EXPECT_THAT(result.errors, HasSubstr("libgreeting.dylib: "));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, DamagedLibrary, testing::ValuesIn(kDamages),
                         [](const auto& each) { return std::string(each.param.name); });

class DamagedFile : public LoadedProgram, public testing::WithParamInterface<const char*> {};

TEST_P(DamagedFile, IsRefusedWhereverItIsCut) {
    const ImagePatch sound(copied(GetParam()));
    std::vector<size_t> cuts = {0, 3, sizeof(macho::Header) - 1, sound.bytes().size() - 1};
    for (const ImagePatch::Command& command : sound.commands()) {
        cuts.insert(cuts.end(),
                    {command.offset, command.offset + 4, command.offset + command.size});
    }
    for (size_t cut = 0; cut < sound.bytes().size(); cut += 1021) {
        cuts.push_back(cut);
    }
    for (const size_t cut : cuts) {
        SCOPED_TRACE("cut at " + std::to_string(cut));
        ImagePatch file = sound;
        file.cut(cut);
        file.save(copied(GetParam()));
        expectRefused(run({"greeting_program"}), GetParam());
    }
}

// A number that does not matter to the loader may take any value: then the program runs as before.
void expectRefusedOrUnharmed(const ChildResult& result) {
    if (result.status == 0) {
        EXPECT_EQ(result.output, kSound);
        EXPECT_EQ(result.errors, "");
    } else {
        expectRefused(result, "macho_run: ");
    }
}

TEST_P(DamagedFile, IsRefusedOrUnharmedWhicheverNumberOfItsCommandsIsTooLarge) {
    const ImagePatch sound(copied(GetParam()));
    for (size_t offset = 0; offset + 4 <= sound.commandsEnd(); offset += 4) {
        for (const uint32_t value : {0xffffffffU, 0x7ffffff8U}) {
            SCOPED_TRACE("at " + std::to_string(offset) + ": " + std::to_string(value));
            ImagePatch file = sound;
            file.set<uint32_t>(offset, value);
            file.save(copied(GetParam()));
            expectRefusedOrUnharmed(run({"greeting_program"}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfEitherKind, DamagedFile,
                         testing::Values("greeting_program", "libgreeting.dylib"),
                         [](const auto& each) {
                             return std::string(each.param).substr(0, 3) == "lib" ? "Library"
                                                                                  : "Program";
                         });

}  // namespace
