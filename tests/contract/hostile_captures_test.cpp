// Hostile values given to a capture object.
#include <gtest/gtest.h>

#include <array>

#include "hostile_call.h"
#include "scripted_capture.h"
#include "thread_watch.h"

namespace {

using Call = HostileCall<ScriptedCapture&>;
using Function = HostileFunction<ScriptedCapture&>;

class HostileBuffer : public HostileTest {
  protected:
    // With a buffer of its own size.
    static bool startsAndSleeps(ScriptedCapture& capture) {
        capture.init = [&capture] {
            capture.AllocBuffer(ScriptedCapture::kBytes);
            return capture.m_lpBuffer != nullptr;
        };
        return capture.StartCapture() == 0 && driven_time::awaitSleep().has_value();
    }

    // Whether it starts, delivers and stops; its threads have written their last message then.
    static bool works(ScriptedCapture& capture) {
        capture.StopCapture();
        driven_time::reset();
        if (!startsAndSleeps(capture)) {
            return false;
        }
        const bool hasFrame = capture.LockBuffer().pData != nullptr;
        const bool isCapturing = capture.UnlockBuffer() == 3;
        capture.StopCapture();
        return hasFrame && isCapturing && thread_watch::awaitNone();
    }
};

class HostileToACapture : public HostileBuffer, public testing::WithParamInterface<Function> {};

TEST_P(HostileToACapture, isAnsweredBeforeAStart) {
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        SCOPED_TRACE(i);
        ScriptedCapture capture;
        EXPECT_EQ(answerOf(GetParam().calls[i].call, capture), GetParam().calls[i].idle);
        EXPECT_TRUE(works(capture));
    }
}

TEST_P(HostileToACapture, isAnsweredDuringACapture) {
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        SCOPED_TRACE(i);
        driven_time::reset();
        ScriptedCapture capture;
        ASSERT_TRUE(startsAndSleeps(capture));
        EXPECT_EQ(answerOf(GetParam().calls[i].call, capture), GetParam().calls[i].running);
        runRounds(1);
        EXPECT_TRUE(works(capture));
    }
}

// Sizes for which there may be no memory. Of those that are there all is written when they are
// freed, hence none of 4 GiB.
TEST_F(HostileBuffer, isThereOrIsTold) {
    for (const unsigned int size : {64U << 20, (64U << 20) + 1}) {
        ScriptedCapture capture;
        capture.AllocBuffer(size);
        if (capture.m_lpBuffer != nullptr) {
            EXPECT_EQ(capture.m_nbufSize, size);
        } else {
            EXPECT_EQ(capture.m_nbufSize, 0U);
            EXPECT_EQ(trace_recorder::messages().back(), error("CCaptureBase::AllocBuffer ERROR"));
        }
        EXPECT_TRUE(works(capture));
    }
}

const Answer kTooLong = {"",
                         {bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")}};

std::array<unsigned char, ScriptedCapture::kBytes> picture{};

std::string allocate(ScriptedCapture& capture, unsigned int size) {
    capture.AllocBuffer(size);
    return std::to_string(capture.m_nbufSize);
}

std::string setFrameSize(ScriptedCapture& capture, const CAP_SIZE& size) {
    return text(capture.SetFrameSize(size));
}

struct Data {
    bool isThere;
    unsigned int length;

    unsigned char* bytes() const { return isThere ? picture.data() : nullptr; }
};

std::string update(ScriptedCapture& capture, const Data& data) {
    capture.UpdateBuffer(data.bytes(), data.length);
    return "";
}

std::string resize(ScriptedCapture& capture, const Data& data) {
    return std::to_string(capture.Resize(data.bytes(), data.length));
}

// Frames that do not fit into a buffer that a host made too small. What is asked is that nothing is
// written past its end, and that no reader is told of more than there is.
TEST_F(HostileBuffer, isNotWrittenOrReadPastItsEnd) {
    for (const CAP_SIZE& size :
         {CAP_SIZE{ScriptedCapture::kWidth, ScriptedCapture::kHeight}, CAP_SIZE{20, 10}}) {
        ScriptedCapture capture;
        capture.SetFrameSize(size);
        capture.AllocBuffer(16);
        capture.OnCaptureSuccess();
        EXPECT_EQ(capture.Resize(picture.data(), ScriptedCapture::kWidth * 4), 0U);
        const CAP_DESKTOP_DATA frame = capture.LockBuffer();
        EXPECT_TRUE(frame.pData == nullptr || frame.dwDataLen <= 16);
        capture.UnlockBuffer();
        EXPECT_TRUE(works(capture));
    }
}

// A pitch too small for a row of the monitor's width.
Answer tooShort(unsigned int pitch) {
    return refusal("1", "CCaptureScaling::CopyData param Error nSrcWidthPitch:" +
                            std::to_string(pitch) + ",SrcH:13,DesW:21,DesH:13");
}

INSTANTIATE_TEST_SUITE_P(
    Buffers, HostileToACapture,
    testing::Values(
        Function{"CCaptureBase_AllocBuffer", joined(each<Call>({0U}, allocate, Answer{"0"}),
                                                    each<Call>({1U}, allocate, Answer{"1"}))},
        Function{
            "CCaptureBase_SetFrameSize",
            joined(each<Call, CAP_SIZE>({{0, 0}, {0, UINT_MAX}, {UINT_MAX, 0}}, setFrameSize,
                                        refusal("false",
                                                "CCaptureBase::SetFrameRate... param "
                                                "nFrameSize invalid!")),
                   each<Call, CAP_SIZE>(
                       {{22, 1}, {1, 14}, {65536, 16384}, {INT_MAX, 1}, {UINT_MAX, UINT_MAX}},
                       setFrameSize,
                       refusal("false", "CCaptureBase::SetFrameRate... param nFrameSize error")))},
        Function{"CCaptureBase_UpdateBuffer",
                 joined(each<Call, Data>({{false, 0}, {false, 1}, {true, 0}, {true, 4}}, update,
                                         kTooLong, kNothing),
                        each<Call, Data>({{true, ScriptedCapture::kBytes + 1},
                                          {false, UINT_MAX},
                                          {true, INT_MAX},
                                          {true, UINT_MAX}},
                                         update, kTooLong))},
        Function{"CCaptureBase_Resize",
                 joined(each<Call, Data>({{false, 0}, {false, 84}, {false, UINT_MAX}, {true, 0}},
                                         resize, Answer{"0"}),
                        each<Call, Data>({{true, 1}}, resize, Answer{"0"}, tooShort(1)),
                        each<Call, Data>({{true, 83}}, resize, Answer{"0"}, tooShort(83)))}),
    nameOfFunction);

struct Frame {
    bool isThere;
    unsigned int width;
    unsigned int height;
};

INSTANTIATE_TEST_SUITE_P(
    Frames, HostileToACapture,
    testing::Values(Function{"CCaptureBase_CheckARGBData",
                             each<Call, Frame>(
                                 {{false, 1, 1},
                                  {false, UINT_MAX, UINT_MAX},
                                  {true, 0, 0},
                                  {true, 0, UINT_MAX},
                                  {true, UINT_MAX, 0}},
                                 [](ScriptedCapture& capture, const Frame& frame) {
                                     return text(capture.CheckARGBData(
                                         frame.isThere ? picture.data() : nullptr, frame.width,
                                         frame.height));
                                 },
                                 kFalse)},
                    Function{"CCaptureBase_CaptureThread",
                             {{[](ScriptedCapture&) {
                                   return text(CCaptureBase::CaptureThread(nullptr) == nullptr);
                               },
                               kTrue, kTrue}}}),
    nameOfFunction);

struct Exclusion {
    uintptr_t window;
    int action;
};

auto exclude = noResult([](ScriptedCapture& capture, const Exclusion& exclusion) {
    capture.SetExcludeWnd(window(exclusion.window),
                          static_cast<tagCapExcWndActType>(exclusion.action));
});

struct Sharing {
    unsigned int window;
    int action;
};

auto share = noResult([](ScriptedCapture& capture, const Sharing& sharing) {
    capture.SetSharedAppWnd(sharing.window, static_cast<tagCapAppActType>(sharing.action));
});

INSTANTIATE_TEST_SUITE_P(
    Settings, HostileToACapture,
    testing::Values(
        Function{"CCaptureBase_SetMaxFrameRate",
                 joined(each<Call>(
                            {INT_MIN, -1, 0},
                            [](ScriptedCapture& capture, int rate) {
                                return text(capture.SetMaxFrameRate(rate));
                            },
                            refusal("false",
                                    "CCaptureBase::SetMaxFrameRate... param "
                                    "nFrameRate invalid!")),
                        each<Call>(
                            {1, 1001, INT_MAX},
                            [](ScriptedCapture& capture, int rate) {
                                return text(capture.SetMaxFrameRate(rate));
                            },
                            kTrue))},
        Function{"CCaptureBase_UpdateFrameRate",
                 each<Call>(
                     {0U, 1001U, INT_MAX + 1U, UINT_MAX},
                     [](ScriptedCapture& capture, unsigned int rate) {
                         capture.m_nMaxFrameRate = -1;  // lets any rate in
                         return text(capture.UpdateFrameRate(rate));
                     },
                     kTrue)},
        Function{"CCaptureBase_SetExcludeWnd",
                 joined(each<Call, Exclusion>({{0, 1}, {0, 2}, {0, -1}, {0, INT_MIN}, {0, INT_MAX}},
                                              exclude,
                                              refusal("",
                                                      "CMagCapture::SetExcludeWnd()... Invalid "
                                                      "Param!")),
                        each<Call, Exclusion>({{0, 0},
                                               {UINTPTR_MAX, 1},
                                               {UINTPTR_MAX, 2},
                                               {1, INT_MIN},
                                               {1, 3},
                                               {1, INT_MAX}},
                                              exclude, kNothing))},
        Function{"CCaptureBase_SetSharedAppWnd",
                 joined(each<Call, Sharing>({{0, 0}, {0, 1}, {0, INT_MIN}, {0, INT_MAX}}, share,
                                            refusal("",
                                                    "CCaptureBase::SetSharedAppWnd()... "
                                                    "Invalid Param!")),
                        each<Call, Sharing>({{1, -1}, {UINT_MAX, INT_MIN}, {UINT_MAX, 2}}, share,
                                            kNothing))},
        Function{"CCaptureBase_SetAppShareBackColor",
                 each<Call>({0U, 1U, 2U, INT_MAX + 1U, UINT_MAX},
                            noResult([](ScriptedCapture& capture, unsigned int value) {
                                capture.SetAppShareBackColor(value, UINT_MAX, UINT_MAX);
                            }),
                            kNothing)},
        Function{"CCaptureBase_SetCustomVersion",
                 each<Call>({0U, UINT_MAX}, noResult([](ScriptedCapture& capture, unsigned int v) {
                                capture.SetCustomVersion(v);
                            }),
                            kNothing)},
        Function{"CCaptureBase_SetCaptureMode",
                 each<Call>({INT_MIN, -1, 0, 2, INT_MAX},
                            noResult([](ScriptedCapture& capture, int mode) {
                                capture.SetCaptureMode(static_cast<CAP_MODE>(mode));
                            }),
                            kNothing)},
        Function{"CCaptureBase_SwitchMode", each<Call>(
                                                {2U, INT_MAX + 1U, UINT_MAX},
                                                [](ScriptedCapture& capture, unsigned int mode) {
                                                    capture.serial = true;
                                                    return text(capture.SwitchMode(mode));
                                                },
                                                kFalse)},
        Function{"CCaptureBase_PauseCapture",
                 each<Call>(
                     {true},
                     [](ScriptedCapture& capture,
                        bool pause) { return text(capture.PauseCapture(pause)); },
                     kTrue)}),
    nameOfFunction);

}  // namespace
