// CCaptureScaling: the choice of the algorithm and the copies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "CaptureScaling.h"
#include "contract_test.h"
#include "scaler_recorder.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kCopy = 0;
constexpr int kBilinear = 3;

class Scaling : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        scaler_recorder::forget();
    }

    // A source of size pixels in rows of pitch bytes, and a target as large, of zeros.
    void make(CAP_SIZE size, uint32_t pitch) {
        source_.resize(size_t{pitch} * size.dwHeight);
        std::iota(source_.begin(), source_.end(), static_cast<unsigned char>(1));
        target_.assign(size_t{size.dwWidth} * size.dwHeight * 4, 0);
    }

    CCaptureScaling scaling_;
    std::vector<unsigned char> source_;
    std::vector<unsigned char> target_;
};

MATCHER_P2(IsSize, width, height, "") {
    return arg.dwWidth == width && arg.dwHeight == height;
}

TEST_F(Scaling, startsAtNothing) {
    EXPECT_THAT(scaling_.GetCapFrameSize(), IsSize(0U, 0U));
    EXPECT_EQ(scaling_.RefreshScalingAlg(), kCopy);
}

struct Choice {
    CAP_SIZE source;
    CAP_SIZE target;
    int algorithm;
};

class ScalingChoice : public Scaling, public testing::WithParamInterface<Choice> {};

TEST_P(ScalingChoice, followsFromTheTwoSizes) {
    const Choice& choice = GetParam();
    EXPECT_TRUE(scaling_.Initialize(choice.source, choice.target));
    EXPECT_EQ(scaling_.RefreshScalingAlg(), choice.algorithm);
    EXPECT_THAT(scaling_.GetCapFrameSize(), IsSize(choice.target.dwWidth, choice.target.dwHeight));
}

INSTANTIATE_TEST_SUITE_P(Sizes, ScalingChoice,
                         testing::Values(Choice{{1920, 1080}, {1920, 1080}, kCopy},
                                         Choice{{1920, 1080}, {1280, 720}, kBilinear},
                                         Choice{{1280, 720}, {1920, 1080}, kBilinear},
                                         Choice{{1920, 1080}, {1919, 1080}, kBilinear},
                                         Choice{{1920, 1080}, {1920, 1079}, kBilinear},
                                         Choice{{1080, 1920}, {1920, 1080}, kBilinear},
                                         Choice{{1, 1}, {1, 1}, kCopy}));

TEST_F(Scaling, copiesPackedRowsInOneBlock) {
    make({1920, 1080}, 7680);
    scaling_.Initialize({1920, 1080}, {1920, 1080});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 7680, target_.data()));
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("MacroMemcpy(8294400, 8294400)"));
    EXPECT_EQ(target_, source_);
}

TEST_F(Scaling, copiesPaddedRowsOneByOne) {
    make({1920, 1080}, 7744);
    scaling_.Initialize({1920, 1080}, {1920, 1080});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 7744, target_.data()));
    EXPECT_THAT(scaler_recorder::calls(), SizeIs(1080));
    EXPECT_THAT(scaler_recorder::calls(), Each("MacroMemcpy(7680, 7680)"));
}

TEST_F(Scaling, dropsThePaddingOfRows) {
    make({3, 2}, 17);
    scaling_.Initialize({3, 2}, {3, 2});
    scaling_.Resize(source_.data(), 17, target_.data());
    std::vector<unsigned char> packed(source_.begin(), source_.begin() + 12);
    packed.insert(packed.end(), source_.begin() + 17, source_.begin() + 29);
    EXPECT_EQ(target_, packed);
}

TEST_F(Scaling, takesTheSourceWidthFromThePitch) {
    make({1920, 1080}, 7680);
    scaling_.Initialize({1920, 1080}, {1280, 720});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 7680, target_.data()));
    EXPECT_THAT(scaler_recorder::calls(),
                ElementsAre("BilinearInterpolation(1920, 1080, 1280, 720, 4)"));
}

TEST_F(Scaling, takesPaddingForPixelsWhenItScales) {
    make({3, 2}, 19);
    scaling_.Initialize({3, 2}, {2, 1});
    scaling_.Resize(source_.data(), 19, target_.data());
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("BilinearInterpolation(4, 2, 2, 1, 4)"));
}

TEST_F(Scaling, copiesNothingFromRowsTooShort) {
    make({5, 2}, 16);
    scaling_.Initialize({5, 2}, {5, 2});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 16, target_.data()));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CCaptureScaling::CopyData param Error nSrcWidthPitch:16,SrcH:2,"
                                  "DesW:5,DesH:2")));
    EXPECT_THAT(target_, Each(0));
    EXPECT_THAT(scaler_recorder::calls(), IsEmpty());
}

// Nothing of the source's size is chosen anew when there is nothing to scale.
TEST_F(Scaling, refusesNullAndNoPitch) {
    make({3, 2}, 12);
    scaling_.Initialize({3, 2}, {3, 2});
    EXPECT_FALSE(scaling_.Resize(nullptr, 12, target_.data()));
    EXPECT_FALSE(scaling_.Resize(source_.data(), 0, target_.data()));
    EXPECT_FALSE(scaling_.Resize(source_.data(), 12, nullptr));
    EXPECT_THAT(scaler_recorder::calls(), IsEmpty());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(Scaling, undoesNothing) {
    scaling_.Initialize({3, 2}, {2, 2});
    EXPECT_TRUE(scaling_.UnInitialize());
    scaling_.DestroyDxva();
    EXPECT_EQ(scaling_.RefreshScalingAlg(), kBilinear);
    EXPECT_THAT(scaling_.GetCapFrameSize(), IsSize(2U, 2U));
}

// CopyData by itself.

TEST_F(Scaling, copiesTheUpperLeftOfALargerSource) {
    make({4, 3}, 16);
    scaling_.CopyData(source_.data(), 16, 3, target_.data(), {2, 2});
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("MacroMemcpy(8, 8)", "MacroMemcpy(8, 8)"));
    EXPECT_THAT(std::vector<unsigned char>(target_.begin() + 8, target_.begin() + 16),
                ElementsAre(17, 18, 19, 20, 21, 22, 23, 24));
}

TEST_F(Scaling, copiesFewerRowsOfTheSameWidthOneByOne) {
    make({4, 3}, 16);
    scaling_.CopyData(source_.data(), 16, 3, target_.data(), {4, 2});
    EXPECT_THAT(scaler_recorder::calls(),
                ElementsAre("MacroMemcpy(16, 16)", "MacroMemcpy(16, 16)"));
}

TEST_F(Scaling, copiesNoRows) {
    make({4, 3}, 16);
    scaling_.CopyData(source_.data(), 16, 3, target_.data(), {4, 0});
    EXPECT_THAT(scaler_recorder::calls(), IsEmpty());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(Scaling, refusesATargetHigherThanTheSource) {
    make({4, 3}, 16);
    scaling_.CopyData(source_.data(), 16, 3, target_.data(), {2, 4});
    EXPECT_THAT(scaler_recorder::calls(), IsEmpty());
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CCaptureScaling::CopyData param Error nSrcWidthPitch:16,SrcH:3,"
                                  "DesW:2,DesH:4")));
}

}  // namespace
