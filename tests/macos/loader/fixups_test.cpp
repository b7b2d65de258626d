#include "fixups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "load_error.h"
#include "synthetic_image.h"

namespace {

using macho::Bind;
using macho::BindList;
using macho::LoadError;
using macho::SyntheticImage;
using testing::ElementsAre;
using testing::ElementsAreArray;

using Opcodes = std::vector<uint8_t>;

// A minus distance of 16, in as many bytes as that takes.
const Opcodes kBack16 = {0xf0, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01};

Opcodes operator+(Opcodes left, const Opcodes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::vector<uint64_t> rebasesOf(const Opcodes& list) {
    const SyntheticImage image({list, {}, {}, {}});
    std::vector<uint64_t> offsets;
    macho::forEachRebase(image.commands(), [&](uint64_t address) {
        offsets.push_back(address - SyntheticImage::kDataStart);
    });
    return offsets;
}

struct RebaseCase {
    const char* name;
    Opcodes list;
    std::vector<uint64_t> offsets;
};

class Rebases : public testing::TestWithParam<RebaseCase> {};

// Each list begins with "pointers; segment 1, offset 0x80".
const Opcodes kStart = {0x11, 0x21, 0x80, 0x01};

TEST_P(Rebases, AreWhereTheOpcodesSay) {
    EXPECT_THAT(rebasesOf(kStart + GetParam().list), ElementsAreArray(GetParam().offsets));
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryOpcode, Rebases,
    testing::Values(RebaseCase{"None", {0x00}, {}},
                    RebaseCase{"NothingAfterTheEnd", {0x00, 0x51}, {}},
                    RebaseCase{"WithoutAnEnd", {0x51}, {0x80}},
                    RebaseCase{"Some", {0x53, 0x00}, {0x80, 0x88, 0x90}},
                    RebaseCase{"Many", {0x60, 0x02, 0x00}, {0x80, 0x88}},
                    RebaseCase{"AndAdvance", {0x70, 0x10, 0x51, 0x00}, {0x80, 0x98}},
                    RebaseCase{"Skipping", {0x80, 0x03, 0x18, 0x51}, {0x80, 0xa0, 0xc0, 0xe0}},
                    RebaseCase{"Advance", {0x30, 0x20, 0x51}, {0xa0}},
                    RebaseCase{"AdvanceByPointers", {0x43, 0x51}, {0x98}},
                    RebaseCase{"AdvanceBackwards", Opcodes{0x30} + kBack16 + Opcodes{0x51}, {0x70}},
                    RebaseCase{"AtTheLastPointer", {0x21, 0xf8, 0x1f, 0x51}, {0xff8}}),
    [](const auto& each) { return std::string(each.param.name); });

struct ListCase {
    const char* name;
    Opcodes list;
};

class SenselessRebases : public testing::TestWithParam<ListCase> {};

TEST_P(SenselessRebases, AreRefused) {
    EXPECT_THROW((void)rebasesOf(GetParam().list), LoadError);
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryKind, SenselessRebases,
    testing::Values(ListCase{"BeforeAPlaceIsSet", {0x51}}, ListCase{"OfCode", {0x12}},
                    ListCase{"InASegmentThatIsNotThere", {0x22, 0x00}},
                    ListCase{"InASegmentThatIsNotWritable", {0x20, 0x00, 0x51}},
                    ListCase{"BehindTheSegment", {0x21, 0x80, 0x20, 0x51}},
                    ListCase{"AcrossTheSegmentsEnd", {0x21, 0xf9, 0x1f, 0x51}},
                    ListCase{"BeforeTheSegment",
                             Opcodes{0x21, 0x08, 0x30} + kBack16 + Opcodes{0x51}},
                    ListCase{"MoreThanTheSegmentHolds", {0x21, 0x00, 0x60, 0x81, 0x04}},
                    ListCase{"WithoutEnd",
                             {0x21, 0x00, 0x80, 0xff, 0xff, 0xff, 0xff, 0x7f, 0xf8, 0xff, 0xff,
                              0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}},
                    ListCase{"OfAnUnknownOpcode", {0x21, 0x00, 0x90}},
                    ListCase{"CutInANumber", {0x21, 0x80}}),
    [](const auto& each) { return std::string(each.param.name); });

struct SeenBind {
    uint64_t offset;
    std::string symbol;
    int64_t ordinal;
    bool mayBeMissing;
    int64_t addend;

    bool operator==(const SeenBind&) const = default;
};

void PrintTo(const SeenBind& bind, std::ostream* out) {
    *out << bind.symbol << " from " << bind.ordinal << " at " << bind.offset << " + " << bind.addend
         << (bind.mayBeMissing ? ", may be missing" : "");
}

std::vector<SeenBind> bindsOf(const Opcodes& list, BindList kind) {
    macho::FixupLists lists;
    (kind == BindList::kPlain  ? lists.binds
     : kind == BindList::kWeak ? lists.weakBinds
                               : lists.lazyBinds) = list;
    const SyntheticImage image(lists);
    std::vector<SeenBind> binds;
    macho::forEachBind(image.commands(), kind, [&](const Bind& bind) {
        binds.push_back({bind.address - SyntheticImage::kDataStart, std::string(bind.import.symbol),
                         bind.import.ordinal, bind.import.mayBeMissing,
                         static_cast<int64_t>(bind.addend)});
    });
    return binds;
}

struct BindCase {
    const char* name;
    Opcodes list;
    std::vector<SeenBind> binds;
};

class Binds : public testing::TestWithParam<BindCase> {};

// Each list begins with "library 1; symbol _f; pointers; segment 1, offset 0x80".
const Opcodes kBindStart = {0x11, 0x40, '_', 'f', 0, 0x51, 0x71, 0x80, 0x01};

TEST_P(Binds, AreWhatTheOpcodesSay) {
    EXPECT_THAT(bindsOf(kBindStart + GetParam().list, BindList::kPlain),
                ElementsAreArray(GetParam().binds));
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryOpcode, Binds,
    testing::Values(
        BindCase{"None", {0x00}, {}}, BindCase{"One", {0x90, 0x00}, {{0x80, "_f", 1, false, 0}}},
        BindCase{"NothingAfterTheEnd", {0x00, 0x90}, {}},
        BindCase{"OneAfterTheOther",
                 {0x90, 0x90},
                 {{0x80, "_f", 1, false, 0}, {0x88, "_f", 1, false, 0}}},
        BindCase{"AndAdvance",
                 {0xa0, 0x20, 0x90},
                 {{0x80, "_f", 1, false, 0}, {0xa8, "_f", 1, false, 0}}},
        BindCase{"AndAdvanceByPointers",
                 {0xb2, 0x90},
                 {{0x80, "_f", 1, false, 0}, {0x98, "_f", 1, false, 0}}},
        BindCase{"Skipping",
                 {0xc0, 0x02, 0x08, 0x90},
                 {{0x80, "_f", 1, false, 0}, {0x90, "_f", 1, false, 0}, {0xa0, "_f", 1, false, 0}}},
        BindCase{"Advance", {0x80, 0x10, 0x90}, {{0x90, "_f", 1, false, 0}}},
        BindCase{"AdvanceBackwards",
                 Opcodes{0x80} + kBack16 + Opcodes{0x90},
                 {{0x70, "_f", 1, false, 0}}},
        BindCase{"FromALibraryByALargeNumber", {0x20, 0x02, 0x90}, {{0x80, "_f", 2, false, 0}}},
        BindCase{"FromTheImageItself", {0x30, 0x90}, {{0x80, "_f", 0, false, 0}}},
        BindCase{"FromTheMainProgram", {0x3f, 0x90}, {{0x80, "_f", -1, false, 0}}},
        BindCase{"FromAnywhere", {0x3e, 0x90}, {{0x80, "_f", -2, false, 0}}},
        BindCase{"FromWeakDefinitions", {0x3d, 0x90}, {{0x80, "_f", -3, false, 0}}},
        BindCase{"ThatMayBeMissing", {0x41, 'g', 0, 0x90}, {{0x80, "g", 1, true, 0}}},
        BindCase{"WithAnAddend", {0x60, 0x78, 0x90}, {{0x80, "_f", 1, false, -8}}}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(LazyBinds, StandAloneEachWithAnEnd) {
    const Opcodes list = {0x71, 0x00, 0x11, 0x40, 'a', 0, 0x90, 0x00,
                          0x71, 0x08, 0x12, 0x40, 'b', 0, 0x90, 0x00};
    EXPECT_THAT(bindsOf(list, BindList::kLazy),
                ElementsAre(SeenBind{0, "a", 1, false, 0}, SeenBind{8, "b", 2, false, 0}));
}

TEST(WeakBinds, ComeFromWeakDefinitions) {
    const Opcodes list = {0x40, 'a', 0, 0x51, 0x71, 0x00, 0x90, 0x00};
    EXPECT_THAT(bindsOf(list, BindList::kWeak), ElementsAre(SeenBind{0, "a", -3, false, 0}));
}

TEST(WeakBinds, ASymbolThatIsOnlySaidToBeStrongHereBindsNothing) {
    const Opcodes list = {0x48, 'a', 0, 0x40, 'b', 0, 0x51, 0x71, 0x00, 0x90, 0x00};
    EXPECT_THAT(bindsOf(list, BindList::kWeak), ElementsAre(SeenBind{0, "b", -3, false, 0}));
}

class SenselessBinds : public testing::TestWithParam<ListCase> {};

TEST_P(SenselessBinds, AreRefused) {
    EXPECT_THROW((void)bindsOf(GetParam().list, BindList::kPlain), LoadError);
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryKind, SenselessBinds,
    testing::Values(ListCase{"BeforeAPlaceIsSet", {0x11, 0x40, 'a', 0, 0x90}},
                    ListCase{"BeforeASymbolIsSet", {0x11, 0x71, 0x00, 0x90}},
                    ListCase{"OfCode", {0x52}}, ListCase{"FromALibraryThatIsNotThere", {0x13}},
                    ListCase{"FromALargeNumberThatIsNotThere", {0x20, 0x80, 0x01}},
                    ListCase{"FromASpecialNumberThatIsNotThere", {0x3c}},
                    ListCase{"BehindTheSegment", {0x11, 0x40, 'a', 0, 0x71, 0x80, 0x20, 0x90}},
                    ListCase{"InCode", {0x11, 0x40, 'a', 0, 0x70, 0x00, 0x90}},
                    ListCase{"OfThreadedKind", {0xd0}},
                    ListCase{"WithANameThatDoesNotEnd", {0x40, 'a', 'b'}}),
    [](const auto& each) { return std::string(each.param.name); });

}  // namespace
