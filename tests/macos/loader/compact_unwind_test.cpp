#include "compact_unwind.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "load_error.h"

namespace {

using macho::Bytes;
using macho::dwarfInstructions;
using macho::LoadError;
using macho::UnwindEntry;
using testing::ElementsAreArray;

using ByteList = std::vector<uint8_t>;

// DWARF's numbers: rbx 3, rbp 6, rsp 7, r12 to r15, and 16 for the return address. 0x0c defines the
// frame address; 0x80 + register says how many slots of 8 bytes below it the register was saved.
struct EncodingCase {
    const char* name;
    uint32_t encoding;
    ByteList instructions;
};

class Encoding : public testing::TestWithParam<EncodingCase> {
  protected:
    // A function that takes 0x12340 bytes of stack by an instruction with the number at offset 3.
    const ByteList code_ = {0x48, 0x81, 0xec, 0x40, 0x23, 0x01, 0x00};
};

TEST_P(Encoding, IsPutIntoDwarf) {
    const Bytes code(code_.data(), code_.size(), "code");
    EXPECT_THAT(dwarfInstructions(GetParam().encoding, code),
                ElementsAreArray(GetParam().instructions));
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryKind, Encoding,
    testing::Values(
        EncodingCase{"FramePointerAlone", 0x01000000, {0x0c, 6, 16, 0x90, 1, 0x86, 2}},
        EncodingCase{"FramePointerAndRbx", 0x01010001, {0x0c, 6, 16, 0x90, 1, 0x86, 2, 0x83, 3}},
        // Five registers from five slots below the frame pointer, with rbx the lowest.
        EncodingCase{"FramePointerAndAllRegisters",
                     0x01050000 | 1 | 2 << 3 | 3 << 6 | 4 << 9 | 5 << 12,
                     {0x0c, 6, 16, 0x90, 1, 0x86, 2, 0x83, 7, 0x8c, 6, 0x8d, 5, 0x8e, 4, 0x8f, 3}},
        // One slot between the two is not a register's.
        EncodingCase{"FramePointerAndAGap",
                     0x01030000 | 1 | 0 << 3 | 4 << 6,
                     {0x0c, 6, 16, 0x90, 1, 0x86, 2, 0x83, 5, 0x8e, 3}},
        EncodingCase{"SmallFrameAlone", 0x02010000, {0x0c, 7, 8, 0x90, 1}},
        EncodingCase{"SmallFrameAndRbx", 0x02020400, {0x0c, 7, 16, 0x90, 1, 0x83, 2}},
        // The last of the six ways to save one register.
        EncodingCase{"SmallFrameAndRbp", 0x02020405, {0x0c, 7, 16, 0x90, 1, 0x86, 2}},
        // rbx then r14: the first of six, then the third of the five that are left.
        EncodingCase{
            "SmallFrameAndTwoRegisters", 0x02040802, {0x0c, 7, 32, 0x90, 1, 0x83, 3, 0x8e, 2}},
        EncodingCase{"SmallFrameAndAllRegisters",
                     0x02081800,
                     {0x0c, 7, 64, 0x90, 1, 0x83, 7, 0x8c, 6, 0x8d, 5, 0x8e, 4, 0x8f, 3, 0x86, 2}},
        EncodingCase{"SmallFrameAndAllRegistersBackwards",
                     0x02081800 | 719,
                     {0x0c, 7, 64, 0x90, 1, 0x86, 7, 0x8f, 6, 0x8e, 5, 0x8d, 4, 0x8c, 3, 0x83, 2}},
        // The number in the code, and two more slots.
        EncodingCase{"LargeFrame", 0x03034000, {0x0c, 7, 0xd0, 0xc6, 0x04, 0x90, 1}}),
    [](const auto& each) { return std::string(each.param.name); });

class SenselessEncoding : public testing::TestWithParam<uint32_t> {};

TEST_P(SenselessEncoding, IsRefused) {
    const ByteList code(4);
    EXPECT_THROW((void)dwarfInstructions(GetParam(), Bytes(code.data(), code.size(), "code")),
                 LoadError);
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, SenselessEncoding,
                         testing::Values(0x05000000,  // an unknown kind
                                         0x01010006,  // a register's number that there is not
                                         0x01000009,  // a register above the frame pointer
                                         0x02021c00,  // seven registers
                                         0x02020406,  // the seventh of six
                                         0x03030000   // a number beyond the function's end
                                         ));

void append(ByteList& bytes, std::initializer_list<uint32_t> words) {
    for (const uint32_t word : words) {
        const auto* const start = reinterpret_cast<const uint8_t*>(&word);
        bytes.insert(bytes.end(), start, start + sizeof(word));
    }
}

// Two pages, of either kind, with two functions in each; the second function has language data, and
// the last one's encoding is its page's own.
ByteList sampleIndex() {
    ByteList bytes;
    append(bytes, {1, 28, 1, 32, 1, 36, 3});
    append(bytes, {0x02010000, 0x5000});
    append(bytes, {0x100, 80, 72, 0x200, 104, 80, 0x300, 0, 80});
    append(bytes, {0x180, 0x900});
    append(bytes, {2, 8 | 2 << 16, 0x100, 0x01000000, 0x180, 0x51000000});
    append(bytes, {3, 12 | 2 << 16, 20 | 1 << 16, 0x000000, 0x01000040, 0x04000123});
    return bytes;
}

std::vector<UnwindEntry> entriesOf(const ByteList& bytes) {
    std::vector<UnwindEntry> entries;
    macho::forEachUnwindEntry(Bytes(bytes.data(), bytes.size(), "the unwind index"),
                              [&](const UnwindEntry& entry) { entries.push_back(entry); });
    return entries;
}

TEST(UnwindIndex, CoversEachFunctionUpToTheNext) {
    const auto entries = entriesOf(sampleIndex());
    ASSERT_EQ(entries.size(), 4U);
    const uint64_t starts[] = {0x100, 0x180, 0x200, 0x240, 0x300};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(entries[i].start, starts[i]);
        EXPECT_EQ(entries[i].end, starts[i + 1]);
    }
}

TEST(UnwindIndex, GivesEncodingsOfTheIndexAndOfThePage) {
    const auto entries = entriesOf(sampleIndex());
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].encoding, 0x01000000U);
    EXPECT_EQ(entries[2].encoding, 0x02010000U);
    EXPECT_EQ(entries[3].encoding, 0x04000123U);
    EXPECT_FALSE(entries[2].dwarfRecord());
    EXPECT_EQ(entries[3].dwarfRecord(), 0x123U);
}

TEST(UnwindIndex, GivesPersonalityAndLanguageDataToWhatHasThem) {
    const auto entries = entriesOf(sampleIndex());
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_FALSE(entries[0].personalityPointer);
    EXPECT_FALSE(entries[0].languageData);
    EXPECT_EQ(entries[1].personalityPointer, 0x5000U);
    EXPECT_EQ(entries[1].languageData, 0x900U);
}

TEST(UnwindIndex, IsRefusedWhereverItIsCut) {
    const ByteList whole = sampleIndex();
    for (size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THROW((void)entriesOf({whole.begin(), whole.begin() + static_cast<long>(size)}),
                     LoadError)
            << size;
    }
}

TEST(UnwindIndex, OfAnUnknownVersionIsRefused) {
    ByteList bytes = sampleIndex();
    bytes[0] = 2;
    EXPECT_THROW((void)entriesOf(bytes), LoadError);
}

}  // namespace
