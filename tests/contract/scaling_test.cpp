// CCaptureScaling: the choice of the algorithm and the copies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <numeric>

#include "CaptureScaling.h"
#include "contract_test.h"
#include "journal.h"
#include "kxcommon64.h"
#include "scaler_recorder.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kCopy = 0;
constexpr int kCopyFinal = 1;
constexpr int kCopyAlternative = 2;
constexpr int kBilinear = 3;
constexpr int kDownsampling = 4;

class VisibleScaling : public CCaptureScaling {
  public:
    using CCaptureScaling::RunScalingAlg;
};

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

    VisibleScaling scaling_;
    std::vector<unsigned char> source_;
    std::vector<unsigned char> target_;
};

MATCHER_P2(IsSize, width, height, "") {
    return arg.dwWidth == width && arg.dwHeight == height;
}

// Source, target and delivered size, then the algorithm: seven words.
using Fields = std::array<uint32_t, 7>;

Fields fieldsOf(const CCaptureScaling& scaling) {
    static_assert(sizeof(CCaptureScaling) == sizeof(Fields));
    Fields fields{};
    std::memcpy(fields.data(), &scaling, sizeof fields);
    return fields;
}

TEST_F(Scaling, hasItsFieldsInTheirOrder) {
    EXPECT_THAT(fieldsOf(scaling_), ElementsAre(0, 0, 0, 0, 0, 0, 0));
    scaling_.Initialize({5, 4}, {3, 2});
    EXPECT_THAT(fieldsOf(scaling_), ElementsAre(5, 4, 3, 2, 3, 2, 3));
    scaling_.Initialize({6, 7}, {6, 7});
    EXPECT_THAT(fieldsOf(scaling_), ElementsAre(6, 7, 6, 7, 6, 7, 0));
}

TEST_F(Scaling, clearsItsSizesThenCopiesBothThenTheOneItDelivers) {
    const Journal journal;
    CCaptureScaling scaling;
    EXPECT_TRUE(scaling.Initialize({5, 4}, {3, 2}));
    EXPECT_THAT(journal.entries(),
                ElementsAre("memset_s(8, 8)", "memset_s(8, 8)", "memset_s(8, 8)", "memcpy_s(8, 8)",
                            "memcpy_s(8, 8)", "memcpy_s(8, 8)"));
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
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

TEST_F(Scaling, refusesNullAndNoPitchWithoutChoosingAnew) {
    make({3, 2}, 12);
    scaling_.Initialize({3, 2}, {3, 2});
    const Journal journal;
    EXPECT_FALSE(scaling_.Resize(nullptr, 12, target_.data()));
    EXPECT_FALSE(scaling_.Resize(source_.data(), 0, target_.data()));
    EXPECT_FALSE(scaling_.Resize(source_.data(), 12, nullptr));
    EXPECT_THAT(journal.entries(), IsEmpty());
}

TEST_F(Scaling, choosesAnewForEveryFrame) {
    make({3, 2}, 12);
    scaling_.Initialize({3, 2}, {3, 2});
    const Journal journal;
    scaling_.Resize(source_.data(), 12, target_.data());
    scaling_.Resize(source_.data(), 12, target_.data());
    EXPECT_THAT(journal.entries(), ElementsAre("memcpy_s(8, 8)", "MacroMemcpy(24, 24)",
                                               "memcpy_s(8, 8)", "MacroMemcpy(24, 24)"));
}

TEST_F(Scaling, takesAPitchBelowFourBytesForNoWidth) {
    make({3, 2}, 12);
    scaling_.Initialize({3, 2}, {2, 1});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 3, target_.data()));
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("BilinearInterpolation(0, 2, 2, 1, 4)"));
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
    std::vector<unsigned char> expected(source_.begin(), source_.begin() + 8);
    expected.insert(expected.end(), source_.begin() + 16, source_.begin() + 24);
    expected.resize(target_.size());
    EXPECT_EQ(target_, expected);
}

enum class Way { OneBlock, Rows, Refused };

struct Copy {
    uint32_t pitch;
    uint32_t sourceHeight;
    CAP_SIZE target;
    Way way;
};

class CopiedData : public Scaling, public testing::WithParamInterface<Copy> {};

// Bytes beyond what is copied stay as they were.
TEST_P(CopiedData, isOneBlockOrRowsOrNothing) {
    const Copy& copy = GetParam();
    source_.resize(512);
    std::iota(source_.begin(), source_.end(), static_cast<unsigned char>(1));
    target_.assign(512, 0);
    scaling_.CopyData(source_.data(), copy.pitch, copy.sourceHeight, target_.data(), copy.target);
    const uint32_t row = copy.target.dwWidth * 4;
    std::vector<std::string> calls;
    std::vector<unsigned char> expected(512, 0);
    if (copy.way == Way::OneBlock) {
        const uint32_t size = copy.pitch * copy.sourceHeight;
        calls = {"MacroMemcpy(" + std::to_string(size) + ", " + std::to_string(size) + ")"};
        std::copy_n(source_.begin(), size, expected.begin());
    } else if (copy.way == Way::Rows) {
        const std::string rowText = std::to_string(row);
        calls.assign(copy.target.dwHeight, "MacroMemcpy(" + rowText + ", " + rowText + ")");
        for (uint32_t y = 0; y < copy.target.dwHeight; ++y) {
            std::copy_n(source_.begin() + y * copy.pitch, row, expected.begin() + y * row);
        }
    }
    EXPECT_EQ(scaler_recorder::calls(), calls);
    EXPECT_EQ(target_, expected);
    EXPECT_EQ(trace_recorder::messages().size(), copy.way == Way::Refused ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, CopiedData,
    testing::Values(Copy{16, 3, {4, 3}, Way::OneBlock}, Copy{4, 1, {1, 1}, Way::OneBlock},
                    Copy{16, 0, {4, 0}, Way::OneBlock},  // of no bytes
                    Copy{16, 3, {4, 2}, Way::Rows}, Copy{16, 3, {4, 1}, Way::Rows},
                    Copy{16, 3, {4, 0}, Way::Rows},  // none
                    Copy{17, 3, {4, 3}, Way::Rows}, Copy{19, 3, {4, 3}, Way::Rows},
                    Copy{20, 3, {4, 3}, Way::Rows}, Copy{16, 3, {3, 3}, Way::Rows},
                    Copy{16, 3, {3, 2}, Way::Rows}, Copy{16, 3, {0, 3}, Way::Rows},
                    Copy{16, 3, {0, 0}, Way::Rows}, Copy{16, 3, {4, 4}, Way::Refused},
                    Copy{16, 3, {3, 4}, Way::Refused}, Copy{16, 3, {5, 3}, Way::Refused},
                    Copy{16, 3, {5, 2}, Way::Refused}, Copy{16, 3, {5, 0}, Way::Refused},
                    Copy{15, 3, {4, 3}, Way::Refused}, Copy{19, 3, {5, 3}, Way::Refused},
                    Copy{16, 0, {4, 1}, Way::Refused}, Copy{16, 3, {5, 4}, Way::Refused}));

TEST_F(Scaling, saysWhatItRefuses) {
    make({4, 3}, 16);
    scaling_.CopyData(source_.data(), 16, 3, target_.data(), {0xFFFFFFFF, 4});
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CCaptureScaling::CopyData param Error nSrcWidthPitch:16,SrcH:3,"
                                  "DesW:4294967295,DesH:4")));
}

TEST_F(Scaling, copiesNothingFromOrToNull) {
    make({4, 3}, 16);
    for (const CAP_SIZE target : {CAP_SIZE{4, 3}, CAP_SIZE{3, 3}}) {
        scaling_.CopyData(nullptr, 16, 3, target_.data(), target);
        scaling_.CopyData(source_.data(), 16, 3, nullptr, target);
    }
    EXPECT_THAT(scaler_recorder::calls(), IsEmpty());
    EXPECT_THAT(target_, Each(0));
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

// The sizes are looked at first.
TEST_F(Scaling, saysWhatItRefusesOfNull) {
    scaling_.CopyData(nullptr, 16, 3, nullptr, {5, 3});
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CCaptureScaling::CopyData param Error nSrcWidthPitch:16,SrcH:3,"
                                  "DesW:5,DesH:3")));
}

// The ways of making a frame, also those that are never chosen. Source 4 x 3, target 3 x 2.

struct WayOfScaling {
    int algorithm;
    std::vector<std::string> calls;
};

class ScalingWay : public Scaling, public testing::WithParamInterface<WayOfScaling> {};

TEST_P(ScalingWay, isTakenByItsNumber) {
    make({4, 3}, 18);
    scaling_.Initialize({4, 3}, {3, 2});
    scaler_recorder::forget();
    scaling_.RunScalingAlg(GetParam().algorithm, source_.data(), 18, target_.data());
    EXPECT_EQ(scaler_recorder::calls(), GetParam().calls);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

const std::vector<std::string> kRowsOfSource(3, "MacroMemcpy(16, 16)");
const std::vector<std::string> kRowsOfTarget(2, "MacroMemcpy(12, 12)");

INSTANTIATE_TEST_SUITE_P(
    Numbers, ScalingWay,
    testing::Values(WayOfScaling{kCopy, kRowsOfSource}, WayOfScaling{kCopyFinal, kRowsOfTarget},
                    WayOfScaling{kCopyAlternative, kRowsOfSource},
                    WayOfScaling{kBilinear, {"BilinearInterpolation(4, 3, 3, 2, 4)"}},
                    WayOfScaling{kDownsampling, {"RgbDownsampling(4, 3, 18)"}}, WayOfScaling{5, {}},
                    WayOfScaling{-1, {}}, WayOfScaling{INT32_MAX, {}},
                    WayOfScaling{INT32_MIN, {}}));

// The pointers reach the pixel functions as they are: the result is theirs.
TEST_F(Scaling, downsamplesFromTheSourceIntoTheTarget) {
    make({4, 4}, 16);
    scaling_.Initialize({4, 4}, {2, 2});
    scaling_.RunScalingAlg(kDownsampling, source_.data(), 16, target_.data());
    std::vector<unsigned char> expected(target_.size(), 0);
    RgbDownsampling(4, 4, 16, source_.data(), expected.data());
    EXPECT_EQ(target_, expected);
    EXPECT_THAT(target_, testing::Not(Each(0)));
}

TEST_F(Scaling, interpolatesFromTheSourceIntoTheTarget) {
    make({4, 4}, 16);
    scaling_.Initialize({4, 4}, {3, 3});
    EXPECT_TRUE(scaling_.Resize(source_.data(), 16, target_.data()));
    std::vector<unsigned char> expected(target_.size(), 0);
    BilinearInterpolation(source_.data(), 4, 4, expected.data(), 3, 3, 4);
    EXPECT_EQ(target_, expected);
    EXPECT_THAT(target_, testing::Not(Each(0)));
}

TEST_F(Scaling, doesNotRememberAWayThatItWasTold) {
    make({4, 3}, 16);
    scaling_.Initialize({4, 3}, {3, 2});
    scaling_.RunScalingAlg(kCopyFinal, source_.data(), 16, target_.data());
    EXPECT_THAT(fieldsOf(scaling_), ElementsAre(4, 3, 3, 2, 3, 2, 3));
}

}  // namespace
