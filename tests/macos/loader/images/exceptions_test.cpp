#include <gtest/gtest.h>

#include <string>

#include "shared_by_images.h"

namespace {

TEST(LoadedImages, AnExceptionOfALibraryIsCaughtByItsTypeInTheProgram) {
    int caught = 0;
    try {
        throwLowerError(5);
    } catch (const LowerError& error) {
        caught = error.number;
    }
    EXPECT_EQ(caught, 5);
}

TEST(LoadedImages, AnExceptionOfALibraryIsCaughtInAnother) {
    EXPECT_EQ(numberCaughtInUpper(6), 6);
}

TEST(LoadedImages, AnExceptionCleansUpInTheLibraryThatItPasses) {
    const int before = cleanedUpInUpper();
    EXPECT_THROW(passThroughUpper([] { throw LowerError{1}; }), LowerError);
    EXPECT_EQ(cleanedUpInUpper(), before + 2);
}

TEST(LoadedImages, AnExceptionCleansUpInAFrameThatOnlyADwarfRecordDescribes) {
    const int before = cleanedUpInFrames();
    EXPECT_THROW(throughRecordedFrame([] { throw LowerError{1}; }), LowerError);
    EXPECT_EQ(cleanedUpInFrames(), before + 1);
}

// Calls through a frame, holding numbers in the registers that the frame's function must give back.
template <void (*Through)(Callback)>
struct Frame {
    static long sumAround(Callback callback) {
        long kept[] = {11, 22, 33, 44, 55, 66};
        asm volatile(""
                     : "+r"(kept[0]), "+r"(kept[1]), "+r"(kept[2]), "+r"(kept[3]), "+r"(kept[4]));
        try {
            Through(callback);
        } catch (const LowerError& error) {
            kept[5] += error.number;
        }
        asm volatile(""
                     : "+r"(kept[0]), "+r"(kept[1]), "+r"(kept[2]), "+r"(kept[3]), "+r"(kept[4]));
        return kept[0] + kept[1] + kept[2] + kept[3] + kept[4] + kept[5];
    }
};

struct FrameCase {
    const char* name;
    long (*sumAround)(Callback);
};

class FrameOfALibrary : public testing::TestWithParam<FrameCase> {};

TEST_P(FrameOfALibrary, GivesRegistersBackWhenAnExceptionPasses) {
    const long sum = GetParam().sumAround([] { throw LowerError{1000}; });
    EXPECT_EQ(sum, 11 + 22 + 33 + 44 + 55 + 66 + 1000);
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, FrameOfALibrary,
    testing::Values(FrameCase{"WithFramePointer", &Frame<throughFramePointer>::sumAround},
                    FrameCase{"Small", &Frame<throughSmallFrame>::sumAround},
                    FrameCase{"WithAllRegisters", &Frame<throughFullFrame>::sumAround},
                    FrameCase{"Large", &Frame<throughLargeFrame>::sumAround},
                    FrameCase{"Growing", &Frame<throughGrowingFrame>::sumAround},
                    FrameCase{"InADwarfRecord", &Frame<throughRecordedFrame>::sumAround}),
    [](const auto& each) { return std::string(each.param.name); });

}  // namespace
