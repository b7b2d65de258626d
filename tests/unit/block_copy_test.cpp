// MacroMemcpy: every byte of the block and none beside it, whatever the size and where it lies.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "expect_return.h"
#include "guarded_buffer.h"
#include "images.h"
#include "kxcommon64.h"

namespace {

class BlockCopy : public testing::Test {
  protected:
    explicit BlockCopy(size_t largest)
        : source_(largest), target_(largest), content_(noise(largest)) {}

    // Copies into the piece of targetSize bytes, and looks at that piece and around it.
    testing::AssertionResult copies(Placement from, size_t count, Placement to, size_t targetSize) {
        const size_t copied = std::min(count, targetSize);
        const auto source = source_.place(from, copied);
        std::memcpy(source.data(), content_.data(), copied);
        const auto target = target_.place(to, targetSize);
        std::memset(target.data(), kUnwritten, targetSize);
        MacroMemcpy(target.data(), targetSize, source.data(), count);
        const auto rest = target.subspan(copied);
        if (std::memcmp(target.data(), content_.data(), copied) != 0) {
            return testing::AssertionFailure() << "not the source's bytes; " << count;
        }
        if (!std::ranges::all_of(rest, [](unsigned char byte) { return byte == kUnwritten; }) ||
            !target_.isSurroundingUntouched()) {
            return testing::AssertionFailure() << "writes beside the block; " << count;
        }
        return testing::AssertionSuccess();
    }

    testing::AssertionResult copies(Placement from, Placement to, size_t count) {
        return copies(from, count, to, count);
    }

  private:
    static constexpr unsigned char kUnwritten = 0x5A;

    GuardedBuffer source_;
    GuardedBuffer target_;
    Bytes content_;
};

class SmallBlockCopy : public BlockCopy {
  protected:
    SmallBlockCopy() : BlockCopy(8192) {}
};

TEST_F(SmallBlockCopy, copiesEverySize) {
    for (size_t count = 0; count <= 300; ++count) {
        EXPECT_TRUE(copies(kAtBack, kAtBack, count));
        EXPECT_TRUE(copies(kAtFront, kAtFront, count));
        EXPECT_TRUE(copies(kAtFront, kAtBack, count));
        EXPECT_TRUE(copies(kAtBack, kAtFront, count));
    }
}

TEST_F(SmallBlockCopy, copiesBetweenAnyTwoAlignments) {
    for (size_t from = 0; from < 64; ++from) {
        for (size_t to = 0; to < 64; ++to) {
            const size_t count = 150 + (from * 7 + to * 3) % 151;
            EXPECT_TRUE(
                copies({Placement::Edge::Front, from}, {Placement::Edge::Front, to}, count));
        }
    }
}

// The source too ends where the target does: what does not fit is not read either.
TEST_F(SmallBlockCopy, copiesNoMoreThanFits) {
    for (size_t targetSize = 0; targetSize <= 300; targetSize += 3) {
        for (const size_t excess : {size_t{1}, size_t{63}, size_t{4096}, ULONG_MAX - targetSize}) {
            EXPECT_TRUE(copies(kAtBack, targetSize + excess, kAtBack, targetSize));
        }
    }
}

TEST_F(SmallBlockCopy, leavesTheRestOfALargerTarget) {
    for (size_t count = 0; count <= 300; count += 7) {
        EXPECT_TRUE(copies(kAtBack, count, kAtBack, count + 1));
        EXPECT_TRUE(copies(kAtBack, count, kAtFront, count + 1000));
    }
}

class BlockCopyOfPowers : public BlockCopy, public testing::WithParamInterface<int> {
  protected:
    BlockCopyOfPowers() : BlockCopy((size_t{1} << GetParam()) + 4096) {}
};

TEST_P(BlockCopyOfPowers, copiesSizesNearby) {
    const size_t power = size_t{1} << GetParam();
    for (const size_t count : {power - 64, power - 63, power - 1, power, power + 1, power + 17,
                               power + 63, power + 64}) {
        EXPECT_TRUE(copies(kAtBack, kAtBack, count));
        EXPECT_TRUE(copies(kAtFront, {Placement::Edge::Front, 3}, count));
        EXPECT_TRUE(copies(kAtFront, count + 1000, kAtBack, count));
    }
}

INSTANTIATE_TEST_SUITE_P(Bits, BlockCopyOfPowers, testing::Range(8, 27));

class FrameCopy : public BlockCopy {
  protected:
    static constexpr size_t kFrame = size_t{3840} * 2160 * 4;

    FrameCopy() : BlockCopy(kFrame + 4096) {}
};

TEST_F(FrameCopy, copiesBetweenMisalignedBuffers) {
    for (const size_t distance : {1U, 4U, 15U, 16U, 31U, 32U, 33U, 63U}) {
        const Placement misaligned = {Placement::Edge::Front, distance};
        EXPECT_TRUE(copies(misaligned, kAtFront, kFrame));
        EXPECT_TRUE(copies(kAtFront, misaligned, kFrame));
        EXPECT_TRUE(copies(misaligned, misaligned, kFrame + distance));
    }
}

TEST(MacroMemcpy, copiesNothingFromOrToNull) {
    Bytes bytes(16, 7);
    MacroMemcpy(bytes.data(), bytes.size(), nullptr, bytes.size());
    EXPECT_EQ(bytes, Bytes(16, 7));
    expectReturn([&] {
        MacroMemcpy(nullptr, bytes.size(), bytes.data(), bytes.size());
        MacroMemcpy(nullptr, 0, nullptr, 0);
    });
}

TEST(MacroMemcpy, ofNothingTouchesNothing) {
    GuardedBuffer nothing(0);
    unsigned char* const untouchable = nothing.place(kAtBack, 0).data();
    expectReturn([&] {
        MacroMemcpy(untouchable, 0, untouchable, ULONG_MAX);
        MacroMemcpy(untouchable, ULONG_MAX, untouchable, 0);
    });
}

}  // namespace
