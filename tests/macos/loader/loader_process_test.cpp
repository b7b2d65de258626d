#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image_patch.h"
#include "loaded_program.h"
#include "macho_format.h"

namespace {

using macho::ImagePatch;
using testing::HasSubstr;
using testing::StartsWith;

class RunningAProgram : public LoadedProgram {};

TEST_F(RunningAProgram, PassesArgumentsOnAndExitsAsItDoes) {
    const ChildResult result = run({"greeting_program", "one", "two"});
    EXPECT_EQ(result.status, 2) << result.errors;
    EXPECT_EQ(result.output, "greeting 3\nspare 4\nargument one\nargument two\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(RunningAProgram, LeavesItEverythingBehindItsPath) {
    const ChildResult result = run({"greeting_program", "--stand-in", "--", "--help"});
    EXPECT_EQ(result.status, 3) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("argument --stand-in\nargument --\nargument --help\n"));
}

TEST_F(RunningAProgram, GivesNullForAnImportThatMayBeMissing) {
    take("poor/libgreeting.dylib");
    EXPECT_EQ(run({"greeting_program"}).output, "greeting 3\nspare -1\n");
}

// The linker at hand makes no library that passes on what another has, but marks a load command
// alike.
TEST_F(RunningAProgram, FindsWhatALibraryPassesOnFromAnother) {
    take("passing/libgreeting.dylib");
    take("libwhole_greeting.dylib");
    expectRefused(run({"greeting_program"}), "nobody provides _greetingNumber");
    ImagePatch passing(copied("libgreeting.dylib"));
    passing.set<uint32_t>(passing.command(macho::kLoadLibrary), macho::kReexportLibrary);
    passing.save(copied("libgreeting.dylib"));
    const ChildResult result = run({"greeting_program"});
    EXPECT_EQ(result.output, "greeting 3\nspare 4\n") << result.errors;
}

TEST_F(RunningAProgram, DestroysTheMainThreadsVariablesBeforeGlobalOnes) {
    take("leaving_program");
    EXPECT_EQ(run({"leaving_program"}).output, "main\nthread-local\nglobal\n");
}

TEST_F(RunningAProgram, TellsItsUse) {
    const ChildResult result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith("usage: macho_run "));
}

class RunningAProgramByMistake : public LoadedProgram,
                                 public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(RunningAProgramByMistake, TellsTheMistakeAndTheUseInOneLine) {
    const ChildResult result = run(GetParam());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("macho_run: "));
    EXPECT_THAT(result.errors, HasSubstr("; usage: macho_run "));
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1);
}

INSTANTIATE_TEST_SUITE_P(EveryMistake, RunningAProgramByMistake,
                         testing::Values(std::vector<std::string>{},
                                         std::vector<std::string>{"--unknown", "greeting_program"},
                                         std::vector<std::string>{"--stand-in"},
                                         std::vector<std::string>{"--stand-in", "file"}));

class StandingIn : public LoadedProgram {
  protected:
    void SetUp() override {
        LoadedProgram::SetUp();
        take("numbers_program");
        take("libnumbers.dylib");
    }
};

TEST_F(StandingIn, AnImageProvidesFunctionsAndVariables) {
    const ChildResult result = run({"--stand-in", "libnumbers.dylib", "numbers_program"});
    EXPECT_EQ(result.output, "30 31 no other\n") << result.errors;
}

// And only what it defines itself: not what the libraries do that it needs.
TEST_F(StandingIn, AnElfLibraryProvidesFunctionsAndVariables) {
    const ChildResult result = run({"--stand-in", ELF_NUMBERS, "numbers_program"});
    EXPECT_EQ(result.output, "60 61 no other\n") << result.errors;
}

TEST_F(StandingIn, TheFirstThatIsNamedGoesBeforeOthers) {
    const ChildResult result =
        run({"--stand-in", "libnumbers.dylib", "--stand-in", ELF_NUMBERS, "numbers_program"});
    EXPECT_EQ(result.output, "30 31 no other\n") << result.errors;
}

TEST_F(StandingIn, NothingIsProvidedThatIsNotNamed) {
    expectRefused(run({"numbers_program"}),
                  "/System/Library/Frameworks/Numbers.framework/libnumbers.dylib");
}

TEST_F(StandingIn, AFileThatIsMissingIsNamed) {
    expectRefused(run({"--stand-in", "absent.dylib", "numbers_program"}), "absent.dylib");
}

void appendBigEndian(std::vector<uint8_t>& bytes, uint64_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

constexpr uint64_t kImageOffset = 4096;
constexpr uint32_t kArm64 = 0x0100000c;
constexpr uint32_t kX86_64 = 0x01000007;

// The header of a universal file whose second image is at kImageOffset; offsets and sizes of
// `width` bytes.
std::vector<uint8_t> universalHeader(uint32_t magic, uint32_t processor, uint64_t size, int width) {
    std::vector<uint8_t> header;
    appendBigEndian(header, magic, 4);
    appendBigEndian(header, 2, 4);
    for (const uint32_t each : {kArm64, processor}) {
        appendBigEndian(header, each, 4);
        appendBigEndian(header, 0, 4);
        appendBigEndian(header, each == kArm64 ? 0 : kImageOffset, width);
        appendBigEndian(header, each == kArm64 ? 0 : size, width);
        appendBigEndian(header, 0, width);
    }
    header.resize(kImageOffset);
    return header;
}

class UniversalFile : public LoadedProgram {
  protected:
    void makeUniversal(uint32_t magic, uint32_t processor, int width) const {
        ImagePatch image(copied("libgreeting.dylib"));
        image.prepend(universalHeader(magic, processor, image.bytes().size(), width));
        image.save(copied("libgreeting.dylib"));
    }
};

TEST_F(UniversalFile, GivesTheImageForThisProcessor) {
    makeUniversal(0xcafebabe, kX86_64, 4);
    EXPECT_EQ(run({"greeting_program"}).output, "greeting 3\nspare 4\n");
}

TEST_F(UniversalFile, OfTheWideKindDoesSoToo) {
    makeUniversal(0xcafebabf, kX86_64, 8);
    EXPECT_EQ(run({"greeting_program"}).output, "greeting 3\nspare 4\n");
}

TEST_F(UniversalFile, WithoutAnImageForThisProcessorIsRefused) {
    makeUniversal(0xcafebabe, kArm64, 4);
    expectRefused(run({"greeting_program"}), "holds no image for x86-64");
}

}  // namespace
